#include "package/Hashes.h"
#include "package/SignedTerms.h"
#include "publish/Addresses.h"
#include "publish/ContentFolder.h"
#include "publish/MetadataDocument.h"
#include "publish/MetadataSigner.h"
#include "publish/RemoveBuilds.h"
#include "publish/SignedVersions.h"
#include "support/IsolatedHome.h"
#include "support/TestFiles.h"

#include <QFile>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;
using namespace publish;

namespace {

/// Gives each document the same signature.
class ConstantSigner : public MetadataSigner
{
public:
    std::optional<QByteArray> sign(const QByteArray&, ContentFolder&, QString*) const override
    {
        return made;
    }
    std::optional<minisign::PublicKey> publicKey() const override { return {}; }

    QByteArray made;
};

} // namespace

class SigningRefusedTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void doesNotSignWhatIsDamaged();
    void doesNotSignWhatSomebodyElseChanged_data();
    void doesNotSignWhatSomebodyElseChanged();
    void refusesWhenNoSerialIsLeft();
    void everyCommandRefusesToWriteUnsigned();
    void refusesASignerWhoseSignatureIsWrong();

private:
    std::unique_ptr<SignedVersions> m_fixture;
};

void SigningRefusedTest::init()
{
    m_fixture = std::make_unique<SignedVersions>();
    QCOMPARE(m_fixture->fill(), QStringList());
    QVERIFY(m_fixture->startSigning());
}

void SigningRefusedTest::doesNotSignWhatIsDamaged()
{
    const QString path = u"/launcher/packages/Quelra/4/windows-x86_64/version.txt"_s;
    for (const QByteArray& damage : {QByteArray("5"), QByteArray()}) {
        if (damage.isEmpty())
            QVERIFY(QFile::remove(m_fixture->content() + path));
        else
            testfiles::write(m_fixture->content() + path, damage);
        const Files before = m_fixture->served();
        const QStringList faults = m_fixture->sign();
        QCOMPARE(faults.size(), 1);
        QVERIFY2(faults.first().contains(path), qPrintable(faults.first()));
        QCOMPARE(m_fixture->served(), before);
    }
}

void SigningRefusedTest::doesNotSignWhatSomebodyElseChanged_data()
{
    QTest::addColumn<bool>("stripped");
    QTest::newRow("changed") << false;
    QTest::newRow("changed, and without anything that shows that it was signed") << true;
}

void SigningRefusedTest::doesNotSignWhatSomebodyElseChanged()
{
    QFETCH(bool, stripped);
    QCOMPARE(m_fixture->sign(), QStringList());
    const QByteArray good = m_fixture->current();
    auto document = MetadataDocument::read(good, nullptr);
    document->setPackage(u"Quelra"_s, {u"Mine"_s, {}, {}, {}});
    if (stripped)
        document->removeTerms();
    const QString path = m_fixture->content() + addresses::metadata;
    testfiles::write(path, document->bytes());
    const Files before = m_fixture->served();
    const Signing signing = m_fixture->signing;
    for (const Signing& way : {signing, Signing()}) {
        m_fixture->signing = way;
        for (const QStringList& faults :
             {m_fixture->sign(), m_fixture->switchTo(u"3"_s),
              m_fixture->switchTo(u"3"_s, u"beta"_s),
              m_fixture->publishFiles(u"5"_s, FourVersions::filesOf(5))}) {
            QCOMPARE(faults.size(), 1);
            QVERIFY2(faults.first().contains(u"was changed since it was signed"_s),
                     qPrintable(faults.first()));
        }
        QCOMPARE(m_fixture->served(), before);
    }

    // What was signed is fine again.
    m_fixture->signing = signing;
    testfiles::write(path, good);
    QCOMPARE(m_fixture->switchTo(u"3"_s), QStringList());
    // So is what the operator says is right.
    testfiles::write(path, document->bytes());
    m_fixture->signing = {};
    m_fixture->signing.endSigning = true;
    QCOMPARE(m_fixture->sign(), QStringList());
    m_fixture->signing = signing;
    QCOMPARE(m_fixture->sign(), QStringList());
    QCOMPARE(m_fixture->launchersFault(), QString());
}

void SigningRefusedTest::refusesWhenNoSerialIsLeft()
{
    QCOMPARE(m_fixture->sign(), QStringList());
    const QByteArray largest = QByteArray::number(SignedTerms::largestSerial);
    const QByteArray document =
        m_fixture->current().replace(QByteArray::number(m_fixture->serial()), largest);
    ContentFolder tree(m_fixture->content());
    const auto signature = m_fixture->signing.signer->sign(document, tree, nullptr);
    testfiles::write(m_fixture->content() + addresses::signatures + hashBytes(document) +
                         u".minisig"_s,
                     signature.value());
    testfiles::write(m_fixture->content() + addresses::metadata, document);
    QCOMPARE(m_fixture->serial(), SignedTerms::largestSerial);
    const Files before = m_fixture->served();
    const QStringList faults = m_fixture->switchTo(u"3"_s);
    QCOMPARE(faults.size(), 1);
    QVERIFY2(faults.first().contains(u"no serial number is left"_s), qPrintable(faults.first()));
    QCOMPARE(m_fixture->served(), before);
}

void SigningRefusedTest::everyCommandRefusesToWriteUnsigned()
{
    QCOMPARE(m_fixture->switchTo(u"4"_s, u"beta"_s), QStringList());
    const QStringList before = testfiles::list(m_fixture->content());
    const Files served = m_fixture->served();
    m_fixture->signing = {};
    QList<QStringList> faults{m_fixture->publishFiles(u"5"_s, FourVersions::filesOf(5)),
                              m_fixture->switchTo(u"3"_s), m_fixture->switchTo(u"3"_s, u"beta"_s)};
    RemoveReport report;
    faults.append(removeBuilds({m_fixture->content(), {false, u"Quelra"_s}, {}, false, {}},
                               m_fixture->progress, report));
    for (const QStringList& of : std::as_const(faults)) {
        QCOMPARE(of.size(), 1);
        QVERIFY2(of.first().contains(u"--sign-with"_s), qPrintable(of.first()));
    }
    QCOMPARE(m_fixture->served(), served);
    QCOMPARE(testfiles::list(m_fixture->content()), before);
}

void SigningRefusedTest::refusesASignerWhoseSignatureIsWrong()
{
    QCOMPARE(m_fixture->sign(), QStringList());
    const auto signer = std::make_shared<ConstantSigner>();
    const Files before = m_fixture->served();
    const QByteArray ofAnotherDocument =
        before.value(addresses::signatures + hashBytes(m_fixture->current()) + u".minisig"_s);
    QVERIFY(!ofAnotherDocument.isEmpty());
    m_fixture->signing = {};
    m_fixture->signing.signer = signer;
    for (const QByteArray& made : {QByteArray(), QByteArray("x"), ofAnotherDocument}) {
        signer->made = made;
        const QStringList faults = m_fixture->switchTo(u"3"_s);
        QCOMPARE(faults.size(), 1);
        QVERIFY2(faults.first().startsWith(u"the metadata was not signed: "_s),
                 qPrintable(faults.first()));
        QCOMPARE(m_fixture->served(), before);
    }
}

VORNAK_TEST_MAIN(SigningRefusedTest)
#include "tst_signingrefused.moc"
