#include "package/SignedTerms.h"

#include <QTest>

using namespace Qt::StringLiterals;

/// What signed metadata says of itself.
class SignedTermsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void readsTheMembers();
    void readsOnlySerialsThatAreOnes_data();
    void readsOnlySerialsThatAreOnes();
    void refusesWhatIsNotForThisLauncher_data();
    void refusesWhatIsNotForThisLauncher();
};

void SignedTermsTest::readsTheMembers()
{
    const SignedTerms terms =
        readSignedTerms(R"({"serial": 12, "expires": "2027-01-31T12:00:00Z", "channel": "beta"})");
    QCOMPARE(terms.serial, 12);
    QCOMPARE(terms.expires, u"2027-01-31T12:00:00Z"_s);
    QCOMPARE(terms.channel, u"beta"_s);
    QVERIFY(!readSignedTerms(R"({"serial": 12})").expires);
}

void SignedTermsTest::readsOnlySerialsThatAreOnes_data()
{
    QTest::addColumn<QByteArray>("document");
    QTest::addColumn<qint64>("serial");
    QTest::newRow("the least") << QByteArray(R"({"serial": 1})") << qint64(1);
    QTest::newRow("the largest") << QByteArray(R"({"serial": 9007199254740991})")
                                 << qint64(9007199254740991);
    QTest::newRow("beyond it") << QByteArray(R"({"serial": 9007199254740992})") << qint64(0);
    QTest::newRow("far beyond it") << QByteArray(R"({"serial": 1e300})") << qint64(0);
    QTest::newRow("zero") << QByteArray(R"({"serial": 0})") << qint64(0);
    QTest::newRow("negative") << QByteArray(R"({"serial": -4})") << qint64(0);
    QTest::newRow("none") << QByteArray("{}") << qint64(0);
    QTest::newRow("no number") << QByteArray(R"({"serial": [5]})") << qint64(0);
    QTest::newRow("no object") << QByteArray("[1]") << qint64(0);
    QTest::newRow("no JSON") << QByteArray("<html>") << qint64(0);
}

void SignedTermsTest::readsOnlySerialsThatAreOnes()
{
    QFETCH(QByteArray, document);
    QTEST(readSignedTerms(document).serial, "serial");
}

void SignedTermsTest::refusesWhatIsNotForThisLauncher_data()
{
    QTest::addColumn<QByteArray>("members");
    QTest::addColumn<QString>("fault");
    // The time is noon of the 22nd, the base address ends in "/beta", and 7 was accepted before.
    QTest::newRow("the next one") << QByteArray(R"("serial": 8)") << QString();
    QTest::newRow("the same") << QByteArray(R"("serial": 7)") << QString();
    QTest::newRow("the one before")
        << QByteArray(R"("serial": 6)") << u"its serial number is 6, and 7 was accepted before"_s;
    QTest::newRow("none") << QByteArray(R"("a": 1)") << u"it has no serial number"_s;
    QTest::newRow("its channel") << QByteArray(R"("serial": 8, "channel": "beta")") << QString();
    QTest::newRow("another channel")
        << QByteArray(R"("serial": 8, "channel": "alpha")") << u"it is that of the channel alpha"_s;
    QTest::newRow("the end of a channel's name")
        << QByteArray(R"("serial": 8, "channel": "eta")") << u"it is that of the channel eta"_s;
    QTest::newRow("a second left")
        << QByteArray(R"("serial": 8, "expires": "2026-11-22T12:00:01Z")") << QString();
    QTest::newRow("just over") << QByteArray(R"("serial": 8, "expires": "2026-11-22T12:00:00Z")")
                               << u"it expired at 2026-11-22T12:00:00Z"_s;
    QTest::newRow("years ago") << QByteArray(R"("serial": 8, "expires": "2020-01-01T00:00:00Z")")
                               << u"it expired at 2020-01-01T00:00:00Z"_s;
    const QString noTime = u"its time of expiry is no time"_s;
    for (const char* text : {R"("")", R"("soon")", "2027", "null", R"("2027-01-31T12:00:00")",
                             R"("2027-01-31T12:00:00+02:00")", R"("2027-13-31T12:00:00Z")"})
        QTest::newRow(text) << QByteArray(R"("serial": 8, "expires": )") + text << noTime;
}

void SignedTermsTest::refusesWhatIsNotForThisLauncher()
{
    QFETCH(QByteArray, members);
    const QDateTime now = QDateTime::fromString(u"2026-11-22T12:00:00Z"_s, Qt::ISODate);
    QTEST(termsFault(readSignedTerms('{' + members + '}'), u"https://host.example/beta"_s, 7, now),
          "fault");
}

QTEST_GUILESS_MAIN(SignedTermsTest)
#include "tst_signedterms.moc"
