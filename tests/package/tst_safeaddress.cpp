#include "package/SafeAddress.h"

#include <QTest>

using namespace Qt::StringLiterals;

class SafeAddressTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void knowsAddressesOfTheWeb();
    void knowsAddressesOfAnotherMachine_data();
    void knowsAddressesOfAnotherMachine();
};

void SafeAddressTest::knowsAddressesOfTheWeb()
{
    for (const QString& address : {u"http://host/a"_s, u"https://host"_s, u"HTTPS://host/"_s})
        QVERIFY2(isWebAddress(QUrl(address)), qPrintable(address));
    for (const QString& address :
         {QString(), u"host/a"_s, u"//host/a"_s, u"file:///a"_s, u"ftp://host/a"_s,
          u"search-ms:query=a"_s, u"mailto:a@host"_s, u"http://[bad"_s, u"javascript:a()"_s})
        QVERIFY2(!isWebAddress(QUrl(address)), qPrintable(address));
}

void SafeAddressTest::knowsAddressesOfAnotherMachine_data()
{
    QTest::addColumn<QString>("address");
    QTest::addColumn<bool>("other");
    const auto row = [](const char* address, bool other) {
        QTest::newRow(address) << QString::fromUtf8(address) << other;
    };
    row("", false);
    row("https://host/a", false);
    row("http://host//a", false);
    row("qrc:/a", false);
    row("data:image/png;base64,AA==", false);
    row("a/b", false);
    row("/a/b", false);
    row("/images//b", false);
    row("file:///a/b", false);
    row("file:///C:/a", false);
    row("file://localhost/a", false);
    row("file://host/share/a", true);
    row("FILE://host/share/a", true);
    row("//host/share/a", true);
    row("file:////host/share/a", true);
    row(R"(file:\\host\share\a)", true);
    row("file:%5C%5Chost/share/a", true);
    row("file:///%5Chost/share/a", true);
    row(R"(\\host\share\a)", true);
    row(R"(\\?\UNC\host\share)", true);
    row("/\\host/share/a", true);
    row("%5C%5Chost/share/a", true);
}

void SafeAddressTest::knowsAddressesOfAnotherMachine()
{
    QFETCH(QString, address);
    QTEST(leadsToAnotherMachine(QUrl(address)), "other");
}

QTEST_GUILESS_MAIN(SafeAddressTest)
#include "tst_safeaddress.moc"
