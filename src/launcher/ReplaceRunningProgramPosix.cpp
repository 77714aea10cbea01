#include "launcher/ReplaceRunningProgram.h"

#include <QFile>

#include <cstdio>

// rename(2) replaces a file in one step and leaves a running program its old one.
bool replaceRunningProgram(const QString& fresh, const QString& destination, const TurnFunction&)
{
    return ::rename(QFile::encodeName(fresh).constData(),
                    QFile::encodeName(destination).constData()) == 0;
}
