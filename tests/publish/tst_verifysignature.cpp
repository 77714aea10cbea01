#include "package/Hashes.h"
#include "publish/Addresses.h"
#include "publish/ContentFolder.h"
#include "publish/FolderSource.h"
#include "publish/Product.h"
#include "publish/SignContent.h"
#include "publish/SigningKit.h"
#include "publish/SwitchVersion.h"
#include "publish/VerifyFixture.h"
#include "publish/VerifyOptions.h"
#include "publish/WebSource.h"
#include "support/IsolatedHome.h"
#include "support/ScriptedHttpServer.h"
#include "support/TestFiles.h"

#include <QDateTime>
#include <QFile>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace publish;

class VerifySignatureTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void takesWhatALauncherTakes();
    void refusesWhatIsNotSigned();
    void refusesAChangedDocument();
    void refusesADamagedSignature();
    void refusesAnotherKey();
    void refusesWhatHasExpired();
    void warnsOfWhatExpiresSoon();
    void refusesTheDocumentOfAChannelElsewhere();
    void refusesADocumentWithoutHashes();
    void findsAWrongHashWithoutAKey();
    void readsFromAServer();

private:
    QStringList verify(const QString& channel = {});
    QString signaturePath() const;
    /// Signs the document as it is, whatever it says.
    void signAsItIs(const QByteArray& document);

    std::unique_ptr<VerifyFixture> m_fixture;
    Signing m_signing;
    QList<minisign::PublicKey> m_keys;
};

void VerifySignatureTest::init()
{
    m_fixture = std::make_unique<VerifyFixture>();
    QCOMPARE(m_fixture->fill(), QStringList());
    m_signing = newSigning(*m_fixture, u"key"_s);
    QVERIFY(m_signing.signer);
    m_keys = {*m_signing.signer->publicKey()};
    qsizetype documents = 0;
    QCOMPARE(signContent(m_fixture->content(), m_signing, documents), QStringList());
    QCOMPARE(documents, 1);
}

QStringList VerifySignatureTest::verify(const QString& channel)
{
    FolderSource source(m_fixture->content(), channel);
    VerifyOptions options;
    options.channel = channel;
    options.keys = m_keys;
    return m_fixture->verify(source, options);
}

QString VerifySignatureTest::signaturePath() const
{
    return m_fixture->content() + addresses::signatures +
           hashBytes(m_fixture->served().value(addresses::metadata)) + u".minisig"_s;
}

void VerifySignatureTest::signAsItIs(const QByteArray& document)
{
    testfiles::write(m_fixture->content() + addresses::metadata, document);
    ContentFolder tree(m_fixture->content());
    const auto signature = m_signing.signer->sign(document, tree, nullptr);
    QVERIFY(signature);
    testfiles::write(signaturePath(), *signature);
}

void VerifySignatureTest::takesWhatALauncherTakes()
{
    QCOMPARE(verify(), QStringList());
    QVERIFY(m_fixture->verified.serial > 0);
    QCOMPARE(m_fixture->verified.expires, QString());
    QCOMPARE(m_fixture->progress.warnings, QStringList());
}

void VerifySignatureTest::refusesWhatIsNotSigned()
{
    QVERIFY(QFile::remove(signaturePath()));
    QStringList faults = verify();
    QCOMPARE(faults.size(), 1);
    QVERIFY2(faults.first().contains(u"/launcher/signatures/"_s), qPrintable(faults.first()));
    QVERIFY2(faults.first().endsWith(u"'sign' mends it"_s), qPrintable(faults.first()));
    m_signing = {};
    m_signing.endSigning = true;
    qsizetype documents = 0;
    QCOMPARE(signContent(m_fixture->content(), m_signing, documents), QStringList());
    faults = verify();
    // No signature, no serial, and no hash of any of the six documents.
    QCOMPARE(faults.size(), 8);
    m_keys = {};
    QCOMPARE(verify(), QStringList());
}

void VerifySignatureTest::refusesAChangedDocument()
{
    const QByteArray signature = testfiles::read(signaturePath());
    m_fixture->replaceIn(addresses::metadata, R"("name": "Quelra")", R"("name": "quelra")");
    QVERIFY(!verify().isEmpty());
    testfiles::write(signaturePath(), signature);
    const QStringList faults = verify();
    QCOMPARE(faults.size(), 1);
    QVERIFY2(faults.first().contains(u"not of this document"_s), qPrintable(faults.first()));
}

void VerifySignatureTest::refusesADamagedSignature()
{
    const QByteArray good = testfiles::read(signaturePath());
    const QList<QByteArray> lines = good.split('\n');
    const QList<QByteArray> damaged{
        good.first(good.size() / 2),
        good.first(good.size() - 10),
        QByteArray(good).replace("timestamp:", "timestamp:1"),
        good + good,
        lines.at(0) + '\n' + lines.at(3) + '\n' + lines.at(2) + '\n' + lines.at(1) + '\n',
    };
    for (const QByteArray& bytes : damaged) {
        testfiles::write(signaturePath(), bytes);
        QCOMPARE(verify().size(), 1);
    }
    testfiles::write(signaturePath(), good);
    QCOMPARE(verify(), QStringList());
}

void VerifySignatureTest::refusesAnotherKey()
{
    const QList<minisign::PublicKey> right = m_keys;
    m_keys = {*newSigning(*m_fixture, u"another"_s).signer->publicKey()};
    const QStringList faults = verify();
    QCOMPARE(faults.size(), 1);
    QVERIFY2(faults.first().contains(u"of another key"_s), qPrintable(faults.first()));
    m_keys += right;
    QCOMPARE(verify(), QStringList());
}

void VerifySignatureTest::refusesWhatHasExpired()
{
    const QByteArray now =
        QDateTime::currentDateTimeUtc().addSecs(-1).toString(Qt::ISODate).toLatin1();
    QByteArray document = m_fixture->served().value(addresses::metadata);
    signAsItIs(document.replace("\"serial\"", R"("expires": ")" + now + R"(", "serial")"));
    const QStringList faults = verify();
    QCOMPARE(faults.size(), 1);
    QVERIFY2(faults.first().contains(u"it expired at "_s), qPrintable(faults.first()));
    QCOMPARE(m_fixture->verified.expires, QString::fromLatin1(now));
}

void VerifySignatureTest::warnsOfWhatExpiresSoon()
{
    qsizetype documents = 0;
    for (const int days : {6, 8}) {
        m_signing.expiresInDays = days;
        QCOMPARE(signContent(m_fixture->content(), m_signing, documents), QStringList());
        m_fixture->progress.warnings.clear();
        QCOMPARE(verify(), QStringList());
        QCOMPARE(m_fixture->progress.warnings.size(), days < 7 ? 1 : 0);
    }
}

void VerifySignatureTest::refusesTheDocumentOfAChannelElsewhere()
{
    QCOMPARE(switchVersion({m_fixture->content(),
                            Product{false, u"Quelra"_s},
                            {},
                            u"1.0"_s,
                            u"beta"_s,
                            m_signing}),
             QStringList());
    QCOMPARE(verify(u"beta"_s), QStringList());
    signAsItIs(m_fixture->served().value(u"/beta/launcher/quelrametadata.json"_s));
    const QStringList faults = verify();
    QVERIFY(!faults.isEmpty());
    QVERIFY2(faults.first().contains(u"that of the channel beta"_s), qPrintable(faults.first()));
}

void VerifySignatureTest::refusesADocumentWithoutHashes()
{
    QByteArray document = m_fixture->served().value(addresses::metadata);
    signAsItIs(document.replace("\"assetsversionurlsha256\"", "\"other\""));
    const QStringList faults = verify();
    QCOMPARE(faults.size(), 1);
    QVERIFY2(faults.first().contains(u"does not state the hash of "_s + folder),
             qPrintable(faults.first()));
    QVERIFY2(faults.first().contains(u"assets.txt"_s), qPrintable(faults.first()));
}

void VerifySignatureTest::findsAWrongHashWithoutAKey()
{
    m_keys = {};
    const QByteArray good = m_fixture->served().value(addresses::metadata);
    for (const char* member :
         {"urlsha256", "versionurlsha256", "assetsurlsha256", "assetsversionurlsha256"}) {
        const QByteArray start = '"' + QByteArray(member) + "\": \"";
        QByteArray document = good;
        const qsizetype index = document.indexOf(start) + start.size();
        document[index] = document.at(index) == '0' ? '1' : '0';
        testfiles::write(m_fixture->content() + addresses::metadata, document);
        const QStringList faults = verify();
        QCOMPARE(faults.size(), 1);
        QVERIFY2(faults.first().contains(u"has not the hash that the metadata states"_s),
                 qPrintable(faults.first()));
    }
    testfiles::write(m_fixture->content() + addresses::metadata, good);
    QCOMPARE(verify(), QStringList());
}

void VerifySignatureTest::readsFromAServer()
{
    ScriptedHttpServer server;
    m_fixture->serve(server);
    VerifyOptions options;
    options.keys = m_keys;
    WebSource source(server.baseUrl());
    QCOMPARE(m_fixture->verify(source, options), QStringList());
    const QString address = signaturePath().sliced(m_fixture->content().size());
    HttpAnswer wrong = VerifyFixture::servedAs(address, testfiles::read(signaturePath()));
    wrong.headers = {{"Cache-Control", "no-cache"}, {"Content-Type", "text/plain"}};
    server.route(address, wrong);
    const QStringList faults = m_fixture->verify(source, options);
    QCOMPARE(faults.size(), 1);
    QVERIFY2(faults.first().startsWith(address + u": Cache-Control"_s), qPrintable(faults.first()));
    server.route(address, HttpAnswer::error(404));
    QCOMPARE(m_fixture->verify(source, options).size(), 1);
}

VORNAK_TEST_MAIN(VerifySignatureTest)
#include "tst_verifysignature.moc"
