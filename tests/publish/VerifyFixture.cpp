#include "publish/VerifyFixture.h"

#include "publish/Addresses.h"
#include "publish/ContentSource.h"
#include "publish/FolderSource.h"
#include "publish/HintsPublication.h"
#include "publish/JobRunner.h"
#include "publish/PublishRequest.h"
#include "publish/VerifyOptions.h"
#include "support/TestFiles.h"

#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;

namespace publish {

QByteArray VerifyFixture::client()
{
    return testfiles::textBytes(3000, 1);
}

QStringList VerifyFixture::fill()
{
    setInput({{u"client"_s, client()},
              {u"data/map"_s, testfiles::randomBytes(2000, 2)},
              {u"empty"_s, {}},
              {u"assets/sky"_s, testfiles::textBytes(500, 3)}});
    PublishRequest wanted = request(u"1.0"_s);
    wanted.assets = u"assets"_s;
    QStringList faults = run(wanted);
    setInput({{u"client"_s, launcherProgram(u"7"_s)}});
    wanted.product = {true, {}};
    wanted.version = u"7"_s;
    wanted.assets.clear();
    faults += run(wanted);
    writeFiles(path({}), {{u"hints.json"_s, R"(["<img src=\"/images/news/a.png\">"])"},
                          {u"pictures/news/a.png"_s, "\x89PNG\r\n\x1a\n"}});
    HintsReport hints;
    faults += publishHints(path(u"hints.json"_s), content(), path(u"pictures"_s), {}, hints);
    if (!QFile::remove(content() + u"/.publisher/written.sha256"_s))
        faults.append(u"nothing was noted of what was written"_s);
    return faults;
}

QStringList VerifyFixture::verify()
{
    FolderSource source(content());
    return verify(source, {});
}

QStringList VerifyFixture::verify(ContentSource& source, const VerifyOptions& options)
{
    verified = {};
    return verifyContent(source, options, {2, qint64(1) << 30}, progress, verified);
}

void VerifyFixture::replaceIn(const QString& address, const QByteArray& before,
                              const QByteArray& after) const
{
    const QString file = content() + address;
    QByteArray bytes = testfiles::read(file);
    QVERIFY2(bytes.contains(before), before.constData());
    testfiles::write(file, bytes.replace(before, after));
}

void VerifyFixture::serve(ScriptedHttpServer& server) const
{
    const Files files = served();
    for (auto file = files.begin(); file != files.end(); ++file)
        server.route(file.key(), servedAs(file.key(), *file));
}

HttpAnswer VerifyFixture::servedAs(const QString& address, const QByteArray& body)
{
    HttpAnswer answer = HttpAnswer::ok(body);
    const bool isOften = address == addresses::metadata || address == addresses::hints;
    const bool isPicture = address.startsWith(addresses::images);
    const QByteArray kept = isOften     ? "no-cache"
                            : isPicture ? "public, max-age=86400"
                                        : "public, max-age=31536000, immutable";
    const QByteArray type = isPicture                         ? "image/png"
                            : address.endsWith(u".json"_s)    ? "application/json"
                            : address.endsWith(u".minisig"_s) ? "text/plain"
                            : address.endsWith(u".txt"_s)     ? "text/plain; charset=utf-8"
                                                              : "application/octet-stream";
    answer.headers = {{"Cache-Control", kept}, {"Content-Type", type}};
    return answer;
}

} // namespace publish
