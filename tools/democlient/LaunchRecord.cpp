#include "democlient/LaunchRecord.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcessEnvironment>

QList<QPair<QString, QString>> launchFacts()
{
    QList<QPair<QString, QString>> facts;
    const QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    QStringList names = environment.keys();
    names.sort();
    for (const QString& name : names) {
        if (name.startsWith(QLatin1StringView("VORNAK_")) ||
            name.startsWith(QLatin1StringView("QLC_")))
            facts.append({name, environment.value(name)});
    }
    facts.append({QStringLiteral("program"), QCoreApplication::applicationFilePath()});
    facts.append({QStringLiteral("working directory"), QDir::currentPath()});
    facts.append({QStringLiteral("arguments"),
                  QCoreApplication::arguments().sliced(1).join(QLatin1Char(' '))});
    return facts;
}

QByteArray launchRecord()
{
    QJsonObject object;
    for (const auto& [name, value] : launchFacts())
        object.insert(name, value);
    return QJsonDocument(object).toJson(QJsonDocument::Indented);
}

bool appendLaunchRecord(const QString& path)
{
    QFile file(path);
    const QByteArray record = launchRecord();
    return file.open(QIODevice::WriteOnly | QIODevice::Append) &&
           file.write(record) == record.size();
}
