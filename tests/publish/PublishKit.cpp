#include "publish/PublishKit.h"

#include "package/Unpack.h"
#include "package/VersionMark.h"
#include "publish/Publication.h"
#include "publish/PublishRequest.h"
#include "support/TestFiles.h"

#include <QDir>
#include <QUrl>

namespace publish {

void RecordedProgress::begin(const QString& what, qint64 bytes, qint64 files)
{
    stretches.append(QStringLiteral("%1 %2 %3").arg(what).arg(bytes).arg(files));
}

void RecordedProgress::advance(qint64 bytes, qint64 files)
{
    Q_UNUSED(bytes)
    Q_UNUSED(files)
}

PublishFixture::PublishFixture()
{
    QDir(m_folder.path()).mkdir(QStringLiteral("input"));
}

void PublishFixture::setInput(const Files& files) const
{
    QDir(input()).removeRecursively();
    QDir().mkpath(input());
    writeFiles(input(), files);
}

PublishRequest PublishFixture::request(const QString& version) const
{
    PublishRequest request;
    request.input = input();
    request.content = content();
    request.product = {false, QStringLiteral("Quelra")};
    request.version = version;
    request.executable = QStringLiteral("client");
    request.packing = {{1, false}, {2, qint64(1) << 30}};
    return request;
}

QStringList PublishFixture::publishFiles(const QString& version, const Files& files)
{
    setInput(files);
    return run(request(version));
}

QStringList PublishFixture::run(const PublishRequest& request)
{
    report = {};
    return publishVersion(request, progress, report);
}

Files PublishFixture::served() const
{
    Files files;
    for (const QString& path : testfiles::list(content())) {
        if (!path.startsWith(QLatin1StringView(".publisher/")))
            files.insert(u'/' + path, testfiles::read(content() + u'/' + path));
    }
    return files;
}

void writeFiles(const QString& folder, const Files& files)
{
    for (auto file = files.begin(); file != files.end(); ++file)
        testfiles::write(folder + u'/' + file.key(), *file);
}

Files smallClient()
{
    return {{QStringLiteral("client"), testfiles::textBytes(200'000, 1)},
            {QStringLiteral("data/map"), testfiles::randomBytes(50'000, 2)},
            {QStringLiteral("data/map copy"), testfiles::randomBytes(50'000, 2)},
            {QStringLiteral("empty"), {}},
            {QStringLiteral("größe/λ"), "x"}};
}

QByteArray launcherProgram(const QString& version)
{
    return "program" VORNAK_VERSION_MARK + version.toUtf8() +
           QByteArray(VORNAK_VERSION_MARK_END "end");
}

Files unpackedFiles(const Files& served, const QList<OrlFile>& files, const QString& folder)
{
    Files contents;
    for (const OrlFile& file : files) {
        const QByteArray packed = served.value(QUrl(folder).resolved(QUrl(file.url)).path());
        QByteArray content;
        if (hashBytes(packed) != file.packedhash || packed.size() != file.packedsize ||
            !unpackLzma(packed, content, nullptr) || hashBytes(content) != file.unpackedhash ||
            content.size() != file.unpackedsize)
            content = "broken";
        contents.insert(file.localfile, content);
    }
    return contents;
}

} // namespace publish
