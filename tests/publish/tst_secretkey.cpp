#include "package/Minisign.h"
#include "publish/ContentFolder.h"
#include "publish/SigningKit.h"
#include "support/IsolatedHome.h"
#include "support/TestFiles.h"

#include <QFileInfo>
#include <QProcess>
#include <QStandardPaths>
#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;
using namespace publish;

namespace {

const QByteArray document("{\"serial\": 1}\n");

} // namespace

/// The program minisign counts as the format's own word here: what it takes and makes is right.
class SecretKeyTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void signsWhatThePublicKeyVerifies();
    void writesOverNoFile();
    void onlyTheOwnerReadsTheSecretKey();
    void refusesAnotherPassphrase();
    void asksForNoPassphraseWhenTheKeyIsDamaged();
    void noticesADamagedKey();
    void refusesAKeyThatCostsMoreThanAny();
    void minisignVerifiesOurSignature();
    void minisignSignsWithOurKey();
    void takesKeysOfMinisign_data();
    void takesKeysOfMinisign();

private:
    QString path(const QString& name) const { return m_folder->filePath(name); }
    QByteArray signature(const QString& key, const QByteArray& passphrase) const;
    bool minisign(const QStringList& arguments, const QByteArray& input = {}) const;

    std::unique_ptr<QTemporaryDir> m_folder;
};

void SecretKeyTest::init()
{
    m_folder = std::make_unique<QTemporaryDir>();
}

QByteArray SecretKeyTest::signature(const QString& key, const QByteArray& passphrase) const
{
    ContentFolder tree(path(u"content"_s));
    const auto secret = openKey(path(key), passphrase);
    return secret ? secret->sign(document, tree, nullptr).value_or(QByteArray()) : QByteArray();
}

bool SecretKeyTest::minisign(const QStringList& arguments, const QByteArray& input) const
{
    QProcess process;
    process.setWorkingDirectory(m_folder->path());
    process.start(u"minisign"_s, arguments);
    process.write(input);
    process.closeWriteChannel();
    return process.waitForFinished(60'000) && process.exitStatus() == QProcess::NormalExit &&
           process.exitCode() == 0;
}

void SecretKeyTest::signsWhatThePublicKeyVerifies()
{
    const auto key = makeKey(path(u"key"_s), "secret");
    QVERIFY(key);
    QCOMPARE(minisign::readPublicKey(testfiles::read(path(u"key.pub"_s))), key);
    const QByteArray made = signature(u"key"_s, "secret");
    QCOMPARE(minisign::signatureFault(document, made, {*key}), QString());
    QVERIFY(!minisign::signatureFault(document + ' ', made, {*key}).isEmpty());
}

void SecretKeyTest::writesOverNoFile()
{
    for (const QString& name : {u"key"_s, u"key.pub"_s}) {
        init();
        testfiles::write(path(name), "mine");
        QString error;
        QVERIFY(!makeKey(path(u"key"_s), "secret", &error));
        QVERIFY2(error.contains(name + u": is there already"_s), qPrintable(error));
        QCOMPARE(testfiles::list(m_folder->path()), QStringList(name));
        QCOMPARE(testfiles::read(path(name)), "mine");
    }
}

void SecretKeyTest::onlyTheOwnerReadsTheSecretKey()
{
#ifdef Q_OS_WIN
    QSKIP("who may read a file there is a matter of the folder that it lies in");
#endif
    QVERIFY(makeKey(path(u"key"_s), "secret"));
    const QFile::Permissions others =
        QFile::ReadGroup | QFile::WriteGroup | QFile::ReadOther | QFile::WriteOther;
    QVERIFY(!(QFileInfo(path(u"key"_s)).permissions() & others));
    QVERIFY(QFileInfo(path(u"key.pub"_s)).permissions() & QFile::ReadOther);
}

void SecretKeyTest::refusesAnotherPassphrase()
{
    QVERIFY(makeKey(path(u"key"_s), "secret"));
    for (const QByteArray& wrong : {QByteArray("Secret"), QByteArray("secret "), QByteArray()}) {
        QString error;
        QVERIFY(!openKey(path(u"key"_s), wrong, &error));
        QVERIFY2(error.endsWith(u"the passphrase is wrong"_s), qPrintable(error));
    }
}

void SecretKeyTest::asksForNoPassphraseWhenTheKeyIsDamaged()
{
    QVERIFY(makeKey(path(u"key"_s), "secret"));
    const QByteArray good = testfiles::read(path(u"key"_s));
    const QList<QByteArray> damaged{{},
                                    good.first(good.size() / 2),
                                    good.mid(good.indexOf('\n')),
                                    QByteArray(good).replace("RWRT", "RWRU"),
                                    good + "AAAA",
                                    testfiles::read(path(u"key.pub"_s)),
                                    QByteArray(5000, 'x')};
    for (const QByteArray& bytes : damaged) {
        testfiles::write(path(u"key"_s), bytes);
        QString error;
        bool wasAsked = false;
        const auto ask = [&wasAsked](Passphrase&, QString*) { return wasAsked = true; };
        QVERIFY(!SecretKey::readFile(path(u"key"_s), ask, &error));
        QVERIFY(!wasAsked);
        QVERIFY2(error.endsWith(u"not a secret key file"_s), qPrintable(error));
    }
}

void SecretKeyTest::noticesADamagedKey()
{
    QVERIFY(makeKey(path(u"key"_s), "secret"));
    const QByteArray good = testfiles::read(path(u"key"_s));
    const qsizetype line = good.indexOf('\n') + 1;
    // Behind what is not encrypted; trying each byte would take minutes.
    for (qsizetype i = line + 73; i + 3 < good.size(); i += 17) {
        QByteArray bytes = good;
        bytes[i] = bytes.at(i) == 'A' ? 'B' : 'A';
        testfiles::write(path(u"key"_s), bytes);
        QVERIFY2(!openKey(path(u"key"_s), "secret"), qPrintable(QString::number(i)));
    }
    testfiles::write(path(u"key"_s), good);
    QVERIFY(openKey(path(u"key"_s), "secret"));
}

void SecretKeyTest::refusesAKeyThatCostsMoreThanAny()
{
    QVERIFY(makeKey(path(u"key"_s), "secret"));
    const QList<QByteArray> lines = testfiles::read(path(u"key"_s)).split('\n');
    for (const qsizetype offset : {38, 46}) {
        QByteArray bytes = QByteArray::fromBase64(lines.at(1));
        bytes[offset + 5] = 1;
        testfiles::write(path(u"key"_s), lines.first() + '\n' + bytes.toBase64() + '\n');
        QString error;
        QVERIFY(!openKey(path(u"key"_s), "secret", &error));
        QVERIFY2(error.contains(u"more time or memory"_s), qPrintable(error));
    }
}

void SecretKeyTest::minisignVerifiesOurSignature()
{
    if (QStandardPaths::findExecutable(u"minisign"_s).isEmpty())
        QSKIP("minisign is not installed (Debian: minisign)");
    QVERIFY(makeKey(path(u"key"_s), "secret"));
    testfiles::write(path(u"document"_s), document);
    testfiles::write(path(u"signature"_s), signature(u"key"_s, "secret"));
    const QStringList verify{u"-Vm"_s,     u"document"_s, u"-p"_s,
                             u"key.pub"_s, u"-x"_s,       u"signature"_s};
    QVERIFY(minisign(verify));
    testfiles::write(path(u"document"_s), document + ' ');
    QVERIFY(!minisign(verify));
}

void SecretKeyTest::minisignSignsWithOurKey()
{
    if (QStandardPaths::findExecutable(u"minisign"_s).isEmpty())
        QSKIP("minisign is not installed (Debian: minisign)");
    const auto key = makeKey(path(u"key"_s), "secret");
    testfiles::write(path(u"document"_s), document);
    QVERIFY(minisign({u"-Sm"_s, u"document"_s, u"-s"_s, u"key"_s}, "secret\n"));
    const QByteArray made = testfiles::read(path(u"document.minisig"_s));
    QCOMPARE(minisign::signatureFault(document, made, {*key}), QString());
}

void SecretKeyTest::takesKeysOfMinisign_data()
{
    QTest::addColumn<QStringList>("options");
    QTest::addColumn<QByteArray>("input");
    QTest::newRow("encrypted") << QStringList() << QByteArray("secret\nsecret\n");
    QTest::newRow("not encrypted") << QStringList(u"-W"_s) << QByteArray();
}

void SecretKeyTest::takesKeysOfMinisign()
{
    if (QStandardPaths::findExecutable(u"minisign"_s).isEmpty())
        QSKIP("minisign is not installed (Debian: minisign)");
    QFETCH(QStringList, options);
    QFETCH(QByteArray, input);
    QVERIFY(minisign(QStringList{u"-G"_s, u"-p"_s, u"pub"_s, u"-s"_s, u"key"_s} + options, input));
    const auto key = minisign::readPublicKey(testfiles::read(path(u"pub"_s)));
    QVERIFY(key);
    const QByteArray made = signature(u"key"_s, "secret");
    QCOMPARE(minisign::signatureFault(document, made, {*key}), QString());
}

VORNAK_TEST_MAIN(SecretKeyTest)
#include "tst_secretkey.moc"
