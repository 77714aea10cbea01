#include "package/OrlPackageDoc.h"
#include "package/Unpack.h"
#include "publish/Addresses.h"
#include "publish/ContentFolder.h"
#include "publish/ContentSource.h"
#include "publish/FolderSource.h"
#include "publish/HintsPublication.h"
#include "publish/PublishKit.h"
#include "publish/PublishRequest.h"
#include "publish/Verification.h"
#include "publish/VerifyOptions.h"
#include "publish/WebSource.h"
#include "support/IsolatedHome.h"
#include "support/PackLzma.h"
#include "support/ScriptedHttpServer.h"
#include "support/TestFiles.h"

#include <QDir>
#include <QTest>

#include <limits>

using namespace Qt::StringLiterals;
using namespace publish;

namespace {

// moc loses its place in raw literals that hold quotes.
// NOLINTBEGIN(modernize-raw-string-literal)

const QString folder = u"/launcher/packages/Quelra/1.0/windows-x86_64/"_s;

Files someFiles()
{
    return {{u"client"_s, testfiles::textBytes(3000, 1)},
            {u"data/map"_s, testfiles::randomBytes(2000, 2)},
            {u"empty"_s, {}},
            {u"assets/sky"_s, testfiles::textBytes(500, 3)}};
}

} // namespace

class VerificationTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void findsNoFaultInWhatWasPublished();
    void findsEveryDamagedFile_data();
    void findsEveryDamagedFile();
    void readsADamagedFileThatTwoDocumentsNameOnce();
    void findsFaultsOfDocuments_data();
    void findsFaultsOfDocuments();
    void findsFaultsOfPackedFiles_data();
    void findsFaultsOfPackedFiles();
    void impossibleSizesAreFaultsAndNoMore();
    void listsEveryFault();
    void readsAServerAsALauncherDoes();
    void tellsAServersFaults();
    void tellsWhatCachesAreToldWrongly_data();
    void tellsWhatCachesAreToldWrongly();
    void quickAsksAServerForHeadersOnly();
    void quickFindsWhatIsNotThereOrHasAnotherSize();
    void findsFaultsOfVersionsThatAreNotCurrent();
    void tellsWhatMendsEachFault_data();
    void tellsWhatMendsEachFault();

private:
    QStringList run(const QString& content);
    QStringList run() { return run(m_fixture->content()); }
    void replaceIn(const QString& address, const QByteArray& before, const QByteArray& after);
    void serve(ScriptedHttpServer& server);
    static HttpAnswer servedAs(const QString& address, const QByteArray& body);
    QStringList runOn(ContentSource& source, const VerifyOptions& options);

    std::unique_ptr<PublishFixture> m_fixture;
    VerifyReport m_report;
};

void VerificationTest::init()
{
    m_fixture = std::make_unique<PublishFixture>();
    m_fixture->setInput(someFiles());
    PublishRequest request = m_fixture->request(u"1.0"_s);
    request.assets = u"assets"_s;
    QCOMPARE(m_fixture->run(request), QStringList());
    m_fixture->setInput({{u"client"_s, launcherProgram(u"7"_s)}});
    request.product = {true, {}};
    request.version = u"7"_s;
    request.assets.clear();
    QCOMPARE(m_fixture->run(request), QStringList());
    writeFiles(m_fixture->path({}),
               {{u"hints.json"_s, "[\"<img src=\\\"/images/news/a.png\\\">\"]"},
                {u"pictures/news/a.png"_s, "\x89PNG\r\n\x1a\n"}});
    HintsReport report;
    QCOMPARE(publishHints(m_fixture->path(u"hints.json"_s), m_fixture->content(),
                          m_fixture->path(u"pictures"_s), {}, report),
             QStringList());
    // Damage has to show without notes, too: a server has none.
    QVERIFY(QFile::remove(m_fixture->content() + u"/.publisher/written.sha256"_s));
}

QStringList VerificationTest::run(const QString& content)
{
    m_report = {};
    const auto source = std::make_unique<FolderSource>(content);
    return verifyContent(*source, {}, {2, qint64(1) << 30}, m_fixture->progress, m_report);
}

void VerificationTest::replaceIn(const QString& address, const QByteArray& before,
                                 const QByteArray& after)
{
    const QString path = m_fixture->content() + address;
    QByteArray bytes = testfiles::read(path);
    QVERIFY2(bytes.contains(before), before.constData());
    testfiles::write(path, bytes.replace(before, after));
}

void VerificationTest::findsNoFaultInWhatWasPublished()
{
    QCOMPARE(run(), QStringList());
    QCOMPARE(m_report.builds, 2);
    QCOMPARE(m_report.files, 5);
    QCOMPARE(m_report.unpackedBytes, 5500 + launcherProgram(u"7"_s).size());
}

void VerificationTest::findsEveryDamagedFile_data()
{
    QTest::addColumn<int>("way");
    QTest::newRow("changed") << 0;
    QTest::newRow("cut") << 1;
    QTest::newRow("empty") << 2;
    QTest::newRow("missing") << 3;
}

// Whatever is served and damaged, on its own, must show.
void VerificationTest::findsEveryDamagedFile()
{
    QFETCH(int, way);
    const Files served = m_fixture->served();
    QVERIFY(served.size() >= 12);
    for (auto file = served.begin(); file != served.end(); ++file) {
        const QString path = m_fixture->content() + file.key();
        QByteArray damaged = *file;
        damaged[0] = static_cast<char>(damaged.at(0) ^ 4);
        if (way == 3)
            QVERIFY(QFile::remove(path));
        else
            testfiles::write(path, way == 0 ? damaged : way == 1 ? file->chopped(1) : QByteArray());
        const bool last = file.key().endsWith(u"a.png"_s) && way == 1;
        // A line end behind a document is no part of it, nor does the head of a picture tell its
        // end.
        if (!last && !(way == 1 && file->endsWith('\n')))
            QVERIFY2(!run().isEmpty(), qPrintable(file.key()));
        testfiles::write(path, *file);
    }
    QCOMPARE(run(), QStringList());
}

void VerificationTest::readsADamagedFileThatTwoDocumentsNameOnce()
{
    const QString packed = addresses::packedFile(
        m_fixture->served().keys().filter(u".lzma"_s).first().section(u'/', -1).chopped(5));
    QVERIFY(QFile::remove(m_fixture->content() + packed));
    QCOMPARE(run().filter(packed).size(), 1);
}

void VerificationTest::findsFaultsOfDocuments_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<QByteArray>("before");
    QTest::addColumn<QByteArray>("after");
    QTest::addColumn<QString>("hint");
    const auto row = [](const char* name, const QString& address, const char* before,
                        const char* after, const char* hint) {
        QTest::newRow(name) << address << QByteArray(before) << QByteArray(after)
                            << QString::fromLatin1(hint);
    };
    const QString metadata = addresses::metadata;
    const QString document = folder + u"package.json"_s;
    row("no packages", metadata, "\"packages\"", "\"package\"", "no package");
    row("other system", metadata, "\"windows\"", "\"macos\"", "players' system");
    row("folder", metadata, "\"directoryname\": \"Quelra\"", "\"directoryname\": \"..\"",
        "cannot be a folder's name");
    row("percent", metadata, "windows-x86_64/version.txt", "windows-x86_64/version%20.txt",
        "not plain");
    row("elsewhere", metadata, "\"/launcher/packages/Quelra/1.0/windows-x86_64/version.txt",
        "\"https://other.example/version.txt", "leads elsewhere");
    row("version", folder + u"version.txt"_s, "1.0", "1.1", "of '1.0'");
    row("executable", document, "\"executable\":\"client\"", "\"executable\":\"Client\"",
        "not among the files");
    row("no files", document, "\"files\"", "\"file\"", "no package document with files");
    row("path", document, "\"data/map\"", "\"../map\"", "../map");
    row("reserved", document, "\"data/map\"", "\"data/nul\"", "reserved");
    row("twice", document, "\"data/map\"", "\"client\"", "two files");
    row("case", document, "\"data/map\"", "\"CLIENT\"", "case");
    row("asset and file", folder + u"assets.json"_s, "\"assets/sky\"", "\"empty\"", "two files");
    row("upper case hash", document, "\"packedhash\":\"", "\"packedhash\":\"A", "hexadecimal");
    row("size", document, "\"unpackedsize\":\"3000\"", "\"unpackedsize\":\"3001\"", "another size");
    row("negative size", document, "\"unpackedsize\":\"3000\"", "\"unpackedsize\":\"-1\"",
        "make no sense");
    row("too large", document, "\"unpackedsize\":\"3000\"", "\"unpackedsize\":\"2147483648\"",
        "2 GiB");
    row("no packed size", document, "\"packedsize\":\"", "\"packedsiz\":\"", "make no sense");
    row("another list's identity", folder + u"assets.txt"_s, "", "", "another asset list");
    row("hints", u"/hints.json"_s, "<img", "<b", "none of them");
    row("launcher", u"/launcher/self/7/windows-x86_64/version.txt"_s, "7", "8", "launcher (");
}

void VerificationTest::findsFaultsOfDocuments()
{
    QFETCH(QString, address);
    QFETCH(QByteArray, before);
    QFETCH(QByteArray, after);
    QFETCH(QString, hint);
    if (before.isEmpty())
        testfiles::write(m_fixture->content() + address, hashBytes("other").toLatin1());
    else
        replaceIn(address, before, after);
    const QStringList faults = run();
    QVERIFY(!faults.isEmpty());
    QVERIFY2(!faults.filter(hint).isEmpty(), qPrintable(faults.join(u'\n')));
}

void VerificationTest::findsFaultsOfPackedFiles_data()
{
    QTest::addColumn<QByteArray>("packed");
    QTest::addColumn<QString>("hint");
    const QByteArray content = someFiles().value(u"client"_s);
    const QByteArray good = packLzma(content);
    QTest::newRow("good") << good << QString();
    QTest::newRow("other content")
        << packLzma(QByteArray(content).replace(0, 1, "#")) << u"another content"_s;
    QTest::newRow("other size") << packLzma(content + "x") << u"declares another size"_s;
    QTest::newRow("unknown size") << packLzma(content, {PackOptions::Size::Unknown})
                                  << u"declares another size"_s;
    QTest::newRow("odd dictionary")
        << packLzma(content, {PackOptions::Size::Known, 3, 0, 2, 5000}) << u"power of two"_s;
    QTest::newRow("no stream") << good.first(12) << u"ends in its header"_s;
    QTest::newRow("short stream") << good.chopped(40) << u"cannot be unpacked"_s;
}

// The entry tells the truth about the packed bytes, which are wrong by themselves.
void VerificationTest::findsFaultsOfPackedFiles()
{
    QFETCH(QByteArray, packed);
    QFETCH(QString, hint);
    const QString document = m_fixture->content() + folder + u"package.json"_s;
    OrlPackageDoc doc = parsePackageDoc(testfiles::read(document), nullptr);
    OrlFile& entry = doc.files.first();
    QCOMPARE(entry.localfile, u"client"_s);
    entry.packedhash = hashBytes(packed);
    entry.packedsize = packed.size();
    entry.url = u"own.lzma"_s;
    testfiles::write(document, serializePackageDoc(doc));
    testfiles::write(m_fixture->content() + folder + u"own.lzma"_s, packed);
    const QStringList faults = run();
    QCOMPARE(faults.size(), hint.isEmpty() ? 0 : 1);
    if (!faults.isEmpty()) {
        QVERIFY2(faults.first().contains(hint), qPrintable(faults.first()));
        QVERIFY2(faults.first().contains(u"client"_s), qPrintable(faults.first()));
    }
}

void VerificationTest::impossibleSizesAreFaultsAndNoMore()
{
    const QString document = m_fixture->content() + folder + u"package.json"_s;
    OrlPackageDoc doc = parsePackageDoc(testfiles::read(document), nullptr);
    QVERIFY(doc.files.size() > 1);
    constexpr qint64 most = std::numeric_limits<qint64>::max();
    for (OrlFile& entry : doc.files) {
        entry.packedsize = most;
        entry.unpackedsize = most;
    }
    testfiles::write(document, serializePackageDoc(doc));
    QCOMPARE(run().size(), doc.files.size());
    QCOMPARE(m_report.packedBytes, most);
    QCOMPARE(m_report.unpackedBytes, most);
}

void VerificationTest::listsEveryFault()
{
    QDir(m_fixture->content() + u"/launcher/files"_s).removeRecursively();
    QFile::remove(m_fixture->content() + u"/images/news/a.png"_s);
    QFile::remove(m_fixture->content() + folder + u"version.txt"_s);
    QCOMPARE(run().size(), 5 + 1 + 1);
    QCOMPARE(run(m_fixture->path(u"nowhere"_s)).size(), 1);
}

HttpAnswer VerificationTest::servedAs(const QString& address, const QByteArray& body)
{
    HttpAnswer answer = HttpAnswer::ok(body);
    const bool isOften = address == addresses::metadata || address == addresses::hints;
    const bool isPicture = address.startsWith(addresses::images);
    const QByteArray kept = isOften     ? "no-cache"
                            : isPicture ? "public, max-age=86400"
                                        : "public, max-age=31536000, immutable";
    const QByteArray type = isPicture                      ? "image/png"
                            : address.endsWith(u".json"_s) ? "application/json"
                            : address.endsWith(u".txt"_s)  ? "text/plain; charset=utf-8"
                                                           : "application/octet-stream";
    answer.headers = {{"Cache-Control", kept}, {"Content-Type", type}};
    return answer;
}

void VerificationTest::serve(ScriptedHttpServer& server)
{
    const Files served = m_fixture->served();
    for (auto file = served.begin(); file != served.end(); ++file)
        server.route(file.key(), servedAs(file.key(), *file));
}

void VerificationTest::readsAServerAsALauncherDoes()
{
    ScriptedHttpServer server;
    serve(server);
    const auto source = std::make_unique<WebSource>(server.baseUrl() + u'/');
    QCOMPARE(verifyContent(*source, {}, {4, qint64(1) << 30}, m_fixture->progress, m_report),
             QStringList());
    QCOMPARE(m_report.files, 5);

    // Absolute addresses of another host are asked of this one.
    replaceIn(addresses::metadata, "\"/launcher/", "\"https://cdn.example/game/launcher/");
    serve(server);
    QCOMPARE(verifyContent(*source, {}, {4, qint64(1) << 30}, m_fixture->progress, m_report),
             QStringList());
    QCOMPARE(run(), QStringList());
}

void VerificationTest::tellsAServersFaults()
{
    ScriptedHttpServer server;
    serve(server);
    const QString packed = m_fixture->served().keys().filter(u".lzma"_s).first();
    const QByteArray body = m_fixture->served().value(packed);
    const auto source = std::make_unique<WebSource>(server.baseUrl());
    for (HttpAnswer answer :
         {HttpAnswer::error(404), HttpAnswer::error(503), HttpAnswer::truncated(body, 5),
          HttpAnswer::ok("<html>welcome</html>"), HttpAnswer::ok({})}) {
        answer.headers = servedAs(packed, body).headers;
        server.route(packed, answer);
        QCOMPARE(
            verifyContent(*source, {}, {1, qint64(1) << 30}, m_fixture->progress, m_report).size(),
            1);
    }
}

QStringList VerificationTest::runOn(ContentSource& source, const VerifyOptions& options)
{
    m_report = {};
    return verifyContent(source, options, {2, qint64(1) << 30}, m_fixture->progress, m_report);
}

void VerificationTest::tellsWhatCachesAreToldWrongly_data()
{
    QTest::addColumn<QString>("end");
    QTest::addColumn<QByteArray>("header");
    QTest::addColumn<QByteArray>("value");
    QTest::addColumn<bool>("isFine");
    const auto row = [](const char* end, const char* header, const char* value, bool isFine) {
        QTest::addRow("%s %s %s", end, header, value)
            << QString::fromLatin1(end) << QByteArray(header) << QByteArray(value) << isFine;
    };
    row("quelrametadata.json", "Cache-Control", "max-age=3600", false);
    row("quelrametadata.json", "Cache-Control", "", false);
    row("quelrametadata.json", "Cache-Control", "No-Cache, must-revalidate", true);
    row("quelrametadata.json", "Content-Type", "text/html", false);
    row("quelrametadata.json", "Content-Type", "application/json; charset=utf-8", true);
    row("hints.json", "Cache-Control", "public", false);
    row("a.png", "Cache-Control", "no-cache", false);
    row("a.png", "Content-Type", "application/octet-stream", false);
    row("1.0/windows-x86_64/package.json", "Cache-Control", "no-cache", false);
    row("1.0/windows-x86_64/package.json", "Content-Type", "text/plain", false);
    row("1.0/windows-x86_64/version.txt", "Content-Type", "application/json", false);
    row("1.0/windows-x86_64/assets.json", "Cache-Control", "max-age=31536000", false);
    row(".lzma", "Cache-Control", "public,max-age=31536000,immutable", true);
    row(".lzma", "Cache-Control", "public, max-age=60, immutable", false);
    row(".lzma", "Content-Type", "text/plain", false);
    row(".lzma", "Content-Encoding", "gzip", false);
}

void VerificationTest::tellsWhatCachesAreToldWrongly()
{
    QFETCH(QString, end);
    QFETCH(QByteArray, header);
    QFETCH(QByteArray, value);
    QFETCH(bool, isFine);
    ScriptedHttpServer server;
    serve(server);
    const auto source = std::make_unique<WebSource>(server.baseUrl());
    QCOMPARE(runOn(*source, {true}), QStringList());
    const QString address = m_fixture->served().keys().filter(end).first();
    HttpAnswer answer = servedAs(address, m_fixture->served().value(address));
    answer.headers.removeIf([&header](const auto& pair) { return pair.first == header; });
    if (!value.isEmpty())
        answer.headers.append({header, value});
    server.route(address, answer);
    const QStringList faults = runOn(*source, {true});
    QCOMPARE(faults.size(), isFine ? 0 : 1);
    if (!isFine) {
        QVERIFY2(faults.first().contains(address), qPrintable(faults.first()));
        QVERIFY2(faults.first().contains(QString::fromLatin1(header)), qPrintable(faults.first()));
    }
    // What can be unpacked on the way is none of the bodies that are read.
    if (header != "Content-Encoding")
        QCOMPARE(runOn(*source, {}).size(), isFine ? 0 : 1);
}

void VerificationTest::quickAsksAServerForHeadersOnly()
{
    ScriptedHttpServer server;
    serve(server);
    const auto source = std::make_unique<WebSource>(server.baseUrl());
    QCOMPARE(runOn(*source, {true}), QStringList());
    QCOMPARE(m_report.files, 5);
    int heads = 0;
    for (const ScriptedHttpServer::Request& request : server.requests()) {
        const bool isBody = request.path.endsWith(u".lzma"_s) || request.path.endsWith(u".png"_s);
        if (isBody)
            QCOMPARE(request.method, QByteArray("HEAD"));
        heads += isBody ? 1 : 0;
    }
    QCOMPARE(heads, 6);

    const QString packed = m_fixture->served().keys().filter(u".lzma"_s).first();
    HttpAnswer cut = servedAs(packed, m_fixture->served().value(packed).chopped(1));
    HttpAnswer silent = cut;
    silent.announcedLength = -2;
    for (const HttpAnswer& answer : {cut, silent, HttpAnswer::error(404), HttpAnswer::error(503)}) {
        server.route(packed, answer);
        const QStringList faults = runOn(*source, {true});
        QCOMPARE(faults.size(), 1);
        QVERIFY2(faults.first().contains(packed), qPrintable(faults.first()));
    }
}

void VerificationTest::quickFindsWhatIsNotThereOrHasAnotherSize()
{
    const Files served = m_fixture->served();
    const auto source = std::make_unique<FolderSource>(m_fixture->content());
    QCOMPARE(runOn(*source, {true}), QStringList());
    for (auto file = served.begin(); file != served.end(); ++file) {
        const QString path = m_fixture->content() + file.key();
        QVERIFY(QFile::remove(path));
        QVERIFY2(!runOn(*source, {true}).isEmpty(), qPrintable(file.key()));
        testfiles::write(path, *file);
        if (!file.key().endsWith(u".lzma"_s))
            continue;
        testfiles::write(path, *file + "x");
        QCOMPARE(runOn(*source, {true}).size(), 1);
        // The size alone tells nothing of the content.
        QByteArray damaged = *file;
        damaged[0] = static_cast<char>(damaged.at(0) ^ 4);
        testfiles::write(path, damaged);
        QCOMPARE(runOn(*source, {true}), QStringList());
        testfiles::write(path, *file);
    }
}

void VerificationTest::findsFaultsOfVersionsThatAreNotCurrent()
{
    PublishRequest request = m_fixture->request(u"2.0"_s);
    m_fixture->setInput({{u"client"_s, "2"}});
    QCOMPARE(m_fixture->run(request), QStringList());
    QVERIFY(QFile::remove(m_fixture->content() + u"/.publisher/written.sha256"_s));
    ScriptedHttpServer server;
    serve(server);
    const auto inFolder = std::make_unique<FolderSource>(m_fixture->content());
    const auto onServer = std::make_unique<WebSource>(server.baseUrl());
    for (ContentSource* source :
         std::initializer_list<ContentSource*>{inFolder.get(), onServer.get()}) {
        QCOMPARE(runOn(*source, {false, true}), QStringList());
        QCOMPARE(m_report.builds, 3);
        QCOMPARE(runOn(*source, {false, false, u"1.0"_s}), QStringList());
        QCOMPARE(m_report.builds, 1);
        QCOMPARE(m_report.files, 4);
        QCOMPARE(runOn(*source, {false, false, u"3.0"_s}).size(), 1);
    }
    for (const QString& name : {u"package.json"_s, u"version.txt"_s, u"assets.json"_s}) {
        const QByteArray good = testfiles::read(m_fixture->content() + folder + name);
        testfiles::write(m_fixture->content() + folder + name, good.chopped(2));
        serve(server);
        for (ContentSource* source :
             std::initializer_list<ContentSource*>{inFolder.get(), onServer.get()}) {
            QCOMPARE(runOn(*source, {}), QStringList());
            for (const bool quick : {false, true}) {
                const QStringList all = runOn(*source, {quick, true});
                QCOMPARE(all.size(), 1);
                QVERIFY2(all.first().startsWith(u"Quelra 1.0 (windows x86_64): "_s),
                         qPrintable(all.first()));
                QCOMPARE(runOn(*source, {quick, false, u"1.0"_s}), all);
                QCOMPARE(runOn(*source, {quick, false, u"2.0"_s}), QStringList());
            }
        }
        testfiles::write(m_fixture->content() + folder + name, good);
    }
}

void VerificationTest::tellsWhatMendsEachFault_data()
{
    QTest::addColumn<QString>("end");
    QTest::addColumn<QString>("way");
    QTest::addColumn<QString>("advice");
    const QString package = u"; 'package --version 1.0' mends it"_s;
    const QString hints = u"; 'hints' mends it"_s;
    QTest::newRow("document") << u"1.0/windows-x86_64/package.json"_s << u"cut"_s << package;
    QTest::newRow("version") << u"1.0/windows-x86_64/version.txt"_s << u"cut"_s << package;
    QTest::newRow("assets") << u"1.0/windows-x86_64/assets.json"_s << u"cut"_s << package;
    QTest::newRow("identity") << u"1.0/windows-x86_64/assets.txt"_s << u"cut"_s << package;
    QTest::newRow("packed cut") << u"packed"_s << u"cut"_s << package;
    QTest::newRow("packed missing") << u"packed"_s << u"remove"_s << package;
    QTest::newRow("packed changed")
        << u"packed"_s << u"change"_s << u"; 'package --version 1.0 --reread' mends it"_s;
    QTest::newRow("launcher") << u"self/7/windows-x86_64/package.json"_s << u"cut"_s
                              << u"; 'launcher --version 7' mends it"_s;
    QTest::newRow("hints") << u"hints.json"_s << u"cut"_s << hints;
    QTest::newRow("picture") << u"a.png"_s << u"change"_s << hints;
    QTest::newRow("picture missing") << u"a.png"_s << u"remove"_s << hints;
    QTest::newRow("metadata") << u"quelrametadata.json"_s << u"cut"_s
                              << u"; restore it from a backup"_s;
}

void VerificationTest::tellsWhatMendsEachFault()
{
    QFETCH(QString, end);
    QFETCH(QString, way);
    QFETCH(QString, advice);
    const QString document = m_fixture->content() + folder + u"package.json"_s;
    const QString packed =
        addresses::packedFile(parsePackageDoc(testfiles::read(document)).files.first().packedhash);
    const QString path =
        m_fixture->content() +
        (end == u"packed"_s ? packed : m_fixture->served().keys().filter(end).first());
    QByteArray bytes = testfiles::read(path);
    if (way == u"remove"_s) {
        QVERIFY(QFile::remove(path));
    } else {
        bytes[0] = static_cast<char>(bytes.at(0) ^ 4);
        testfiles::write(path, way == u"cut"_s ? bytes.first(bytes.size() / 2) : bytes);
    }
    const QStringList faults = run();
    QCOMPARE(faults.size(), 1);
    QVERIFY2(faults.first().endsWith(advice), qPrintable(faults.first()));
}

// NOLINTEND(modernize-raw-string-literal)

VORNAK_TEST_MAIN(VerificationTest)
#include "tst_verification.moc"
