#include "launcher/ReplaceRunningProgram.h"

#include <QFile>

#include <cstdio>

// rename(2) replaces a file in one step and leaves a running program its old one.
WriteResult replaceRunningProgram(const QString& fresh, const QString& destination,
                                  const TurnFunction&)
{
    const QByteArray from = QFile::encodeName(fresh);
    const QByteArray to = QFile::encodeName(destination);
    return ::rename(from.constData(), to.constData()) == 0 ? WriteResult::done()
                                                           : WriteResult::failedCall();
}
