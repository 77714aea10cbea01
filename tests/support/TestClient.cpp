#include "support/TestClient.h"

#include "support/TestFiles.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

QString testclient::program()
{
#ifdef Q_OS_WIN
    const QLatin1StringView name("/vornak-test-client.exe");
#else
    const QLatin1StringView name("/vornak-test-client");
#endif
    return QCoreApplication::applicationDirPath() + name;
}

QByteArray testclient::programBytes()
{
    const QByteArray bytes = testfiles::read(program());
    if (bytes.isEmpty())
        qFatal("The program vornak-test-client is missing; build the target of that name");
    return bytes;
}

QString testclient::recordPath(const QString& program)
{
    return program + QLatin1StringView(".record");
}

testclient::Record testclient::readRecord(const QString& path)
{
    const QJsonObject json = QJsonDocument::fromJson(testfiles::read(path)).object();
    Record record;
    const QJsonObject environment = json.value(QLatin1StringView("environment")).toObject();
    for (auto i = environment.begin(); i != environment.end(); ++i)
        record.environment.insert(i.key(), i.value().toString());
    for (const auto& argument : json.value(QLatin1StringView("arguments")).toArray())
        record.arguments.append(argument.toString());
    record.workingDirectory = json.value(QLatin1StringView("workingDirectory")).toString();
    return record;
}

void testclient::writeScript(const QString& program, const QByteArray& steps)
{
    testfiles::write(program + QLatin1StringView(".script"), steps);
}
