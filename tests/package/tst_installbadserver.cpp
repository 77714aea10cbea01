#include "package/InstallFixture.h"
#include "support/IsolatedHome.h"

#include <QFile>

using namespace Qt::StringLiterals;

/// What an installation tells of files that the server has not, or has damaged, and what it leaves
/// alone then.
class InstallBadServerTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void emptyBodyFailsPlainly_data() { InstallFixture::addForms(); }
    void emptyBodyFailsPlainly();
    void failureKeepsWhatIsDoneAndTheNextRunGoesOn_data() { InstallFixture::addForms(); }
    void failureKeepsWhatIsDoneAndTheNextRunGoesOn();
    void networkFailuresAreToldWithTheirReason_data();
    void networkFailuresAreToldWithTheirReason();
    void wrongPackedHashIsLoggedAndNamesTheFile_data() { InstallFixture::addForms(); }
    void wrongPackedHashIsLoggedAndNamesTheFile();
    void missingOrCapitalHashesNeverMatch_data() { InstallFixture::addForms(); }
    void missingOrCapitalHashesNeverMatch();
    void damagedPackingNamesTheAddress_data() { InstallFixture::addForms(); }
    void damagedPackingNamesTheAddress();
    void wrongUnpackedHashOrSizeNamesTheFile_data() { InstallFixture::addForms(); }
    void wrongUnpackedHashOrSizeNamesTheFile();
    void oldFileStandsUntilTheNewOneIsChecked_data() { InstallFixture::addForms(); }
    void oldFileStandsUntilTheNewOneIsChecked();
    void pathsThatLeaveTheFolderAreNeverTouched_data();
    void pathsThatLeaveTheFolderAreNeverTouched();
    void takesNoErrorPointer();
};

void InstallBadServerTest::emptyBodyFailsPlainly()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.tree().addAsset(u"a"_s, "content");
    fixture.server().route(fixture.tree().packedPath(fixture.tree().assets.at(0)), QByteArray());
    const MessageCapture log;
    VERIFY_FAILURE(fixture.installAssets(form), u"Download failed"_s);
    fixture.tree().assets[0].packedsize = -1;
    VERIFY_FAILURE(fixture.installAssets(form), u"Download failed"_s);
    const QString path = fixture.tree().packedPath(fixture.tree().assets.at(0));
    const QString line =
        u"Download failed: %1 the file is empty"_s.arg(fixture.server().url(path).toString());
    QCOMPARE(log.lines(), (QStringList{line, line}));
}

void InstallBadServerTest::failureKeepsWhatIsDoneAndTheNextRunGoesOn()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.addFiles(5);
    const QString third = fixture.tree().packedPath(fixture.tree().assets.at(2));
    fixture.server().route(third, "damaged on the way");
    {
        const MessageCapture log;
        VERIFY_FAILURE(fixture.installAssets(form), u"Download failed: data/3.txt"_s);
        QCOMPARE(log.lines(), QStringList{u"packed hash mismatch for data/3.txt (18 bytes)"_s});
    }
    QCOMPARE(fixture.files(), (QStringList{u"Quelra/data/1.txt"_s, u"Quelra/data/2.txt"_s}));
    QCOMPARE(fixture.server().paths().size(), 3);

    fixture.server().route(third, packLzma(InstallFixture::contentOf(3)));
    fixture.server().clearLog();
    VERIFY_SUCCESS(fixture.installAssets(form));
    QStringList rest;
    for (int i = 2; i < 5; ++i)
        rest.append(fixture.tree().packedPath(fixture.tree().assets.at(i)));
    QCOMPARE(fixture.server().paths(), rest);
}

void InstallBadServerTest::networkFailuresAreToldWithTheirReason_data()
{
    QTest::addColumn<Form>("form");
    QTest::addColumn<QString>("kind");
    for (const QString& kind : {u"status"_s, u"truncated"_s, u"reset"_s, u"loop"_s}) {
        QTest::addRow("%s, blocking", qPrintable(kind)) << Form::Blocking << kind;
        QTest::addRow("%s, asynchronous", qPrintable(kind)) << Form::Async << kind;
    }
}

void InstallBadServerTest::networkFailuresAreToldWithTheirReason()
{
    QFETCH(Form, form);
    QFETCH(QString, kind);
    InstallFixture fixture;
    fixture.addFiles(1);
    const QString path = fixture.tree().packedPath(fixture.tree().assets.at(0));
    const QByteArray packed = packLzma(InstallFixture::contentOf(1));
    const QHash<QString, HttpAnswer> answers{
        // The right bytes under an error status are still an error.
        {u"status"_s, HttpAnswer::error(503, packed)},
        {u"truncated"_s, HttpAnswer::truncated(packed, packed.size() / 2)},
        {u"reset"_s, HttpAnswer::resetAfter(packed, packed.size() / 2)},
        {u"loop"_s, HttpAnswer::redirect(path)}};
    fixture.server().route(path, answers.value(kind));
    const MessageCapture log;
    const InstallOutcome outcome = fixture.installAssets(form);
    QVERIFY(!outcome.ok);
    const QString prefix = u"Download failed: "_s;
    QVERIFY2(outcome.error.startsWith(prefix) && outcome.error.size() > prefix.size(),
             qUtf8Printable(outcome.error));
    const QString reason = form == Form::Async ? outcome.error : outcome.error.mid(prefix.size());
    QCOMPARE(log.lines(),
             QStringList{prefix + fixture.server().url(path).toString() + u' ' + reason});
    QVERIFY(fixture.files().isEmpty());
}

void InstallBadServerTest::wrongPackedHashIsLoggedAndNamesTheFile()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.tree().addAsset(u"größe/a.txt"_s, "content");
    fixture.server().route(fixture.tree().packedPath(fixture.tree().assets.at(0)),
                           packLzma("Content"));
    const MessageCapture log;
    VERIFY_FAILURE(fixture.installAssets(form), u"Download failed: größe/a.txt"_s);
    QCOMPARE(log.warnings(), QStringList{u"packed hash mismatch for größe/a.txt (%1 bytes)"_s.arg(
                                 packLzma("Content").size())});
    QVERIFY(fixture.files().isEmpty());
}

void InstallBadServerTest::missingOrCapitalHashesNeverMatch()
{
    QFETCH(Form, form);
    const MessageCapture log;
    for (const bool capitals : {true, false}) {
        InstallFixture fixture;
        fixture.tree().addAsset(u"a"_s, "content");
        OrlFile& file = fixture.tree().assets[0];
        const OrlFile right = file;
        testfiles::write(fixture.path(u"a"_s), "content");
        file.unpackedhash = capitals ? right.unpackedhash.toUpper() : QString();
        QVERIFY(!fixture.client().isFileInstalled(file, fixture.folder()));
        VERIFY_FAILURE(fixture.installAssets(form), u"Download failed: a"_s);
        QCOMPARE(fixture.server().paths().size(), 1);
        file.packedhash = capitals ? right.packedhash.toUpper() : QString();
        VERIFY_FAILURE(fixture.installAssets(form), u"Download failed: a"_s);
        QCOMPARE(fixture.content(u"a"_s), QByteArray("content"));
    }
}

void InstallBadServerTest::damagedPackingNamesTheAddress()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    const QByteArray damaged = "these bytes were never packed by anyone";
    OrlFile file = fileEntry(u"a"_s, u"files/odd name.lzma?x=1"_s, "content", damaged);
    fixture.tree().assets = {file};
    fixture.server().route(u"/launcher/client/files/odd%20name.lzma?x=1"_s, damaged);
    // Files under a "/launcher/" path lose their query on the way to the base address.
    fixture.server().route(u"/launcher/client/files/odd%20name.lzma"_s, damaged);
    const MessageCapture log;
    VERIFY_FAILURE(fixture.installAssets(form),
                   u"Failed to decompress file downloaded from files/odd name.lzma?x=1"_s);
    QCOMPARE(log.warnings(), QStringList{u"Cannot unpack a from files/odd name.lzma?x=1"_s});
    QVERIFY(fixture.files().isEmpty());
}

void InstallBadServerTest::wrongUnpackedHashOrSizeNamesTheFile()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.tree().addAsset(u"a"_s, "content");
    testfiles::write(fixture.path(u"a"_s), "old");
    const OrlFile right = fixture.tree().assets.at(0);
    OrlFile& file = fixture.tree().assets[0];
    const MessageCapture log;
    file.unpackedhash = emptyHash;
    VERIFY_FAILURE(fixture.installAssets(form), u"Download failed: a"_s);
    file = right;
    file.unpackedsize = 8;
    VERIFY_FAILURE(fixture.installAssets(form), u"Download failed: a"_s);
    QCOMPARE(log.warnings(), (QStringList{u"unpacked hash mismatch for a (7 of 7 bytes)"_s,
                                          u"unpacked hash mismatch for a (7 of 8 bytes)"_s}));
    QCOMPARE(fixture.content(u"a"_s), QByteArray("old"));
    QCOMPARE(fixture.files(), QStringList{u"Quelra/a"_s});
}

void InstallBadServerTest::oldFileStandsUntilTheNewOneIsChecked()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.addFiles(2);
    testfiles::write(fixture.path(u"data/1.txt"_s), "old 1");
    testfiles::write(fixture.path(u"data/2.txt"_s), "old 2");
    QList<QByteArray> seen;
    fixture.server().setRequestHook([&] {
        return [&](const QString&) {
            seen.append(fixture.content(u"data/1.txt"_s));
            seen.append(fixture.content(u"data/2.txt"_s));
        };
    }());
    VERIFY_SUCCESS(fixture.installAssets(form));
    QCOMPARE(seen, (QList<QByteArray>{"old 1", "old 2", InstallFixture::contentOf(1), "old 2"}));
    QCOMPARE(fixture.files(), (QStringList{u"Quelra/assets.json.sha256"_s, u"Quelra/data/1.txt"_s,
                                           u"Quelra/data/2.txt"_s}));
}

void InstallBadServerTest::pathsThatLeaveTheFolderAreNeverTouched_data()
{
    QTest::addColumn<Form>("form");
    QTest::addColumn<QString>("localfile");
    for (const QString& path : {u"../outside"_s, u"a/../../outside"_s, u"/tmp/vornak-outside"_s,
                                u"a/.."_s, u"."_s, QString()}) {
        QTest::addRow("'%s', blocking", qPrintable(path)) << Form::Blocking << path;
        QTest::addRow("'%s', asynchronous", qPrintable(path)) << Form::Async << path;
    }
}

void InstallBadServerTest::pathsThatLeaveTheFolderAreNeverTouched()
{
    QFETCH(Form, form);
    QFETCH(QString, localfile);
    InstallFixture fixture;
    fixture.addFiles(1);
    // Right content out there does not count as installed either.
    testfiles::write(fixture.path(u"../outside"_s), InstallFixture::contentOf(2));
    fixture.tree().addAsset(localfile, InstallFixture::contentOf(2));
    const QString path = QDir(fixture.folder()).filePath(localfile);
    const MessageCapture log;
    VERIFY_FAILURE(fixture.installAssets(form), u"Failed to create folder: '%1'."_s.arg(path));
    QCOMPARE(reasonFor(path, log), u"the path is refused"_s);
    QCOMPARE(fixture.server().paths(),
             QStringList{fixture.tree().packedPath(fixture.tree().assets.at(0))});
    QCOMPARE(fixture.files(), (QStringList{u"Quelra/data/1.txt"_s, u"outside"_s}));
    QVERIFY(!QFile::exists(u"/tmp/vornak-outside"_s));
    QVERIFY(!fixture.client().isFileInstalled(fixture.tree().assets.at(1), fixture.folder()));
}

void InstallBadServerTest::takesNoErrorPointer()
{
    InstallFixture fixture;
    fixture.addFiles(1);
    PackageClient& client = fixture.client();
    const QUrl url = fixture.tree().assetsUrl();
    const QString path = fixture.tree().packedPath(fixture.tree().assets.at(0));
    const MessageCapture log;
    for (const QByteArray& body : {QByteArray(), QByteArray("damaged")}) {
        fixture.server().route(path, body);
        QVERIFY(!client.installAssets(url, fixture.tree().assets, {}, fixture.folder(), nullptr));
    }
    fixture.server().removeRoute(path);
    QVERIFY(!client.installAssets(url, fixture.tree().assets, {}, fixture.folder(), nullptr));
    fixture.tree().assets[0].localfile = u"../x"_s;
    QVERIFY(!client.installAssets(url, fixture.tree().assets, {}, fixture.folder(), nullptr));
}

VORNAK_TEST_MAIN(InstallBadServerTest)
#include "tst_installbadserver.moc"
