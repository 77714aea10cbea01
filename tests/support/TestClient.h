#pragma once

#include <QByteArray>
#include <QHash>
#include <QString>
#include <QStringList>

/// The recording client: a program that stands in for the game client. It writes down what it was
/// given and then does what its script says.
///
/// Script, one step per line, from the file named by VORNAK_TEST_CLIENT_SCRIPT, else from
/// "<program>.script" beside the program; without one it ends with exit code 0:
///   exit N          ends with this exit code
///   crash           ends by a signal
///   restart         creates the file named by VORNAK_RESTART_FILE
///   show            creates the file named by VORNAK_SHOW_FILE
///   print N         writes N bytes to standard output, and N to standard error
///   wait PATH       waits until a file appears
///   create PATH     creates a file
/// It ends with exit code 99 when a step cannot be done.
namespace testclient {

/// What the client wrote down when it started.
struct Record
{
    QHash<QString, QString> environment;
    QStringList arguments;
    QString workingDirectory;
};

/// The program file beside the running test program.
[[nodiscard]] QString program();

/// Its bytes, for a package that holds it.
[[nodiscard]] QByteArray programBytes();

/// The record that a client started from `program` leaves unless VORNAK_TEST_CLIENT_RECORD names
/// another file. It appears whole or not at all.
[[nodiscard]] QString recordPath(const QString& program);
[[nodiscard]] Record readRecord(const QString& path);

/// Writes the script beside the program.
void writeScript(const QString& program, const QByteArray& steps);

} // namespace testclient
