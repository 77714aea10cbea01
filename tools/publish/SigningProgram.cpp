#include "publish/SigningProgram.h"

#include "package/Failure.h"
#include "package/TransferLimits.h"
#include "publish/ContentFolder.h"
#include "publish/FileWriting.h"

#include <QDir>
#include <QFile>
#include <QProcess>

namespace publish {

namespace {

// What a program has to say of its failure, as one line of a bearable length.
QString complaintOf(QProcess& process)
{
    constexpr qsizetype most = 400;
    const QString text =
        QString::fromLocal8Bit(process.readAllStandardError()).simplified().right(most);
    return text.isEmpty() ? QStringLiteral("it does not say why") : text;
}

bool run(const QString& program, const QStringList& arguments, QString* error)
{
    QProcess process;
    process.setInputChannelMode(QProcess::ForwardedInputChannel);
    process.setStandardOutputFile(QProcess::nullDevice());
    process.start(program, arguments, QIODevice::ReadOnly);
    if (!process.waitForStarted(-1))
        return fail(
            error, QStringLiteral("%1: cannot be started: %2").arg(program, process.errorString()));
    process.waitForFinished(-1);
    if (process.exitStatus() == QProcess::CrashExit)
        return fail(error, QStringLiteral("%1: crashed: %2").arg(program, complaintOf(process)));
    return process.exitCode() == 0 || fail(error, QStringLiteral("%1: ended with exit code %2: %3")
                                                      .arg(program)
                                                      .arg(process.exitCode())
                                                      .arg(complaintOf(process)));
}

} // namespace

SigningProgram::SigningProgram(QString program)
    : m_program(std::move(program))
{}

std::optional<QByteArray> SigningProgram::sign(const QByteArray& document, ContentFolder& tree,
                                               QString* error) const
{
    const QString path = tree.workPath();
    const QString signaturePath = path + QLatin1StringView(".minisig");
    QByteArray signature;
    bool done =
        writeFile(path, document, false, error) &&
        run(m_program, {QDir::toNativeSeparators(path), QDir::toNativeSeparators(signaturePath)},
            error);
    if (done) {
        QFile file(signaturePath);
        done = file.open(QIODevice::ReadOnly) ||
               fail(error, QStringLiteral("%1: made no signature").arg(m_program));
        signature = file.read(transferlimits::signature);
    }
    QFile::remove(path);
    QFile::remove(signaturePath);
    return done ? std::optional(signature) : std::nullopt;
}

} // namespace publish
