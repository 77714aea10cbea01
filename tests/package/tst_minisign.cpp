#include "package/Minisign.h"
#include "support/TestSigner.h"

#include <QTest>

using namespace Qt::StringLiterals;

namespace {

// Made by minisign 0.11: "minisign -G -W", and "minisign -S" of a file with these bytes.
const QByteArray foreignDocument = "{}\n";
const QByteArray foreignKeyFile = "untrusted comment: minisign public key 4BB70C3D35A27598\n"
                                  "RWSYdaI1PQy3S5rgxPZ+RFymQ4AuIHFosElqcCyVLm5X7Ea784R46v1F\n";
const QByteArray foreignSignature =
    "untrusted comment: signature from minisign secret key\n"
    "RUSYdaI1PQy3S7zc6ErJyP+CZWBYHvvRc1VzJEbj+rdjeLkoI7gZJuAvUrkujmeSCGtBAp2eHOg03MiKN4yR2/"
    "uXLUFjh0P9XAI=\n"
    "trusted comment: timestamp:1795366384\tfile:d.json\thashed\n"
    "h6iN3DFO3F5qP8Sf2CGs8sD9j6JSYnw9sTq8YvPHIPCpfEGZ/TJjVUvSZ6PS3zT6osN69TXjsBXeAo3vvCt3AA==\n";

minisign::PublicKey foreignKey()
{
    return minisign::readPublicKey(foreignKeyFile).value();
}

QByteArray withoutLastLine(const QByteArray& text)
{
    return text.first(text.lastIndexOf('\n', -2) + 1);
}

// The file with its first line of base64, decoded, changed by `change`.
template <typename Change>
QByteArray withOwnLine(const QByteArray& file, const Change& change)
{
    QList<QByteArray> lines = file.split('\n');
    QByteArray bytes = QByteArray::fromBase64(lines.at(1));
    change(bytes);
    lines[1] = bytes.toBase64();
    return lines.join('\n');
}

} // namespace

/// Signatures and keys in minisign's format.
class MinisignTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void takesWhatMinisignHasSigned();
    void readsKeysInBothForms();
    void refusesWhatIsNoKey_data();
    void refusesWhatIsNoKey();
    void anyOfTheKeysWillDo();
    void everyChangedByteOfTheDocumentIsNoticed();
    void refusesOtherSignatures_data();
    void refusesOtherSignatures();
    void takesLineEndsOfWindows();
};

void MinisignTest::takesWhatMinisignHasSigned()
{
    QCOMPARE(minisign::signatureFault(foreignDocument, foreignSignature, {foreignKey()}),
             QString());
}

void MinisignTest::readsKeysInBothForms()
{
    const minisign::PublicKey key = foreignKey();
    QCOMPARE(key.idText(), u"4BB70C3D35A27598"_s);
    const QByteArray line = minisign::publicKeyText(key);
    QVERIFY(foreignKeyFile.contains('\n' + line + '\n'));
    QCOMPARE(minisign::readPublicKey(line), key);
    QCOMPARE(minisign::readPublicKey(line + "\r\n"), key);
}

void MinisignTest::refusesWhatIsNoKey_data()
{
    QTest::addColumn<QByteArray>("text");
    const QByteArray line = minisign::publicKeyText(foreignKey());
    QTest::newRow("nothing") << QByteArray();
    QTest::newRow("one character too few") << line.chopped(1);
    QTest::newRow("four characters too many") << line + "AAAA";
    QTest::newRow("no base64") << line.chopped(1) + '*';
    QTest::newRow("another algorithm") << "RU" + line.sliced(2);
    QTest::newRow("a signature") << foreignSignature;
    QTest::newRow("a line before it") << "comment\n" + line;
}

void MinisignTest::refusesWhatIsNoKey()
{
    QFETCH(QByteArray, text);
    QVERIFY(!minisign::readPublicKey(text));
}

void MinisignTest::anyOfTheKeysWillDo()
{
    const TestSigner first;
    const TestSigner second;
    const TestSigner third;
    const QList keys{first.publicKey(), second.publicKey()};
    QCOMPARE(minisign::signatureFault("document", first.sign("document"), keys), QString());
    QCOMPARE(minisign::signatureFault("document", second.sign("document"), keys), QString());
    QCOMPARE(minisign::signatureFault("document", third.sign("document"), keys),
             u"the signature is of another key"_s);
    QCOMPARE(minisign::signatureFault("document", first.sign("document"), {}),
             u"the signature is of another key"_s);
}

void MinisignTest::everyChangedByteOfTheDocumentIsNoticed()
{
    const TestSigner signer;
    const QByteArray document = R"({"serial": 7, "packages": []})";
    const QByteArray signature = signer.sign(document);
    for (qsizetype i = 0; i < document.size(); ++i) {
        QByteArray changed = document;
        changed[i] = static_cast<char>(changed.at(i) ^ 1);
        QCOMPARE(minisign::signatureFault(changed, signature, {signer.publicKey()}),
                 u"the signature is not of this document"_s);
    }
    for (const QByteArray& other : {document + ' ', document.chopped(1), QByteArray()})
        QCOMPARE(minisign::signatureFault(other, signature, {signer.publicKey()}),
                 u"the signature is not of this document"_s);
}

void MinisignTest::refusesOtherSignatures_data()
{
    QTest::addColumn<QByteArray>("signature");
    QTest::addColumn<QString>("fault");
    const QString malformed = u"the signature is malformed"_s;
    const auto own = [](const auto& change) { return withOwnLine(foreignSignature, change); };
    QTest::newRow("nothing") << QByteArray() << malformed;
    QTest::newRow("cut") << foreignSignature.first(100) << malformed;
    QTest::newRow("without the last line") << withoutLastLine(foreignSignature) << malformed;
    QTest::newRow("a line too many") << foreignSignature + "x\n" << malformed;
    QTest::newRow("a page") << QByteArray("<html>\nnot\nhere\n</html>\n") << malformed;
    QTest::newRow("not prehashed") << own([](QByteArray& bytes) { bytes[1] = 'd'; }) << malformed;
    QTest::newRow("too short") << own([](QByteArray& bytes) { bytes.chop(1); }) << malformed;
    QTest::newRow("too long") << own([](QByteArray& bytes) { bytes += 'x'; }) << malformed;
    QTest::newRow("another key's number")
        << own([](QByteArray& bytes) { bytes[2] = '\0'; }) << u"the signature is of another key"_s;
    for (const qsizetype place : {10, 41, 42, 73})
        QTest::addRow("changed at %lld", static_cast<long long>(place))
            << own([place](QByteArray& bytes) {
                   bytes[place] = static_cast<char>(bytes.at(place) ^ 1);
               })
            << u"the signature is not of this document"_s;
    QByteArray comment = foreignSignature;
    QTest::newRow("another comment")
        << comment.replace("d.json", "e.json") << u"the signature's comment was changed"_s;
    QByteArray unmarked = foreignSignature;
    QTest::newRow("no comment") << unmarked.replace("trusted comment: timestamp", "timestamp")
                                << malformed;
}

void MinisignTest::refusesOtherSignatures()
{
    QFETCH(QByteArray, signature);
    QTEST(minisign::signatureFault(foreignDocument, signature, {foreignKey()}), "fault");
}

void MinisignTest::takesLineEndsOfWindows()
{
    QByteArray signature = foreignSignature;
    signature.replace("\n", "\r\n");
    QCOMPARE(minisign::signatureFault(foreignDocument, signature, {foreignKey()}), QString());
}

QTEST_GUILESS_MAIN(MinisignTest)
#include "tst_minisign.moc"
