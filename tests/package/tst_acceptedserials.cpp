#include "package/AcceptedSerials.h"
#include "support/TestFiles.h"

#include <QTemporaryDir>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

const QString address = u"https://host.example/launcher/quelrametadata.json"_s;

} // namespace

/// The serials that a launcher remembers.
class AcceptedSerialsTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void nothingIsKnownAtFirst();
    void eachAddressHasItsOwn();
    void neverGoesDown();
    void damagedFileReadsAsNone();
    void sayWhatCannotBeWritten();
};

void AcceptedSerialsTest::nothingIsKnownAtFirst()
{
    const QTemporaryDir folder;
    QCOMPARE(acceptedserials::highest(folder.path(), address), 0);
    QCOMPARE(acceptedserials::highest(folder.filePath(u"missing"_s), address), 0);
}

void AcceptedSerialsTest::eachAddressHasItsOwn()
{
    const QTemporaryDir folder;
    const QString place = folder.filePath(u"data"_s);
    QVERIFY(acceptedserials::note(place, address, 9007199254740991));
    QVERIFY(acceptedserials::note(place, u"other"_s, 3));
    QCOMPARE(acceptedserials::highest(place, address), 9007199254740991);
    QCOMPARE(acceptedserials::highest(place, u"other"_s), 3);
}

void AcceptedSerialsTest::neverGoesDown()
{
    const QTemporaryDir folder;
    QVERIFY(acceptedserials::note(folder.path(), address, 5));
    // Shows whether the file is written again.
    const QString file = acceptedserials::filePath(folder.path());
    const QByteArray marked = testfiles::read(file) + "\n\n";
    testfiles::write(file, marked);
    QVERIFY(acceptedserials::note(folder.path(), address, 5));
    QVERIFY(acceptedserials::note(folder.path(), address, 4));
    QCOMPARE(testfiles::read(file), marked);
    QCOMPARE(acceptedserials::highest(folder.path(), address), 5);
}

void AcceptedSerialsTest::damagedFileReadsAsNone()
{
    const QTemporaryDir folder;
    for (const char* text : {"", "{", "[1]", R"({"https://host.example/launcher/)"}) {
        testfiles::write(acceptedserials::filePath(folder.path()), text);
        QCOMPARE(acceptedserials::highest(folder.path(), address), 0);
    }
    QVERIFY(acceptedserials::note(folder.path(), address, 2));
    QCOMPARE(acceptedserials::highest(folder.path(), address), 2);
}

void AcceptedSerialsTest::sayWhatCannotBeWritten()
{
    const QTemporaryDir folder;
    const QString file = folder.filePath(u"file"_s);
    testfiles::write(file, "x");
    const WriteResult result = acceptedserials::note(file + u"/data"_s, address, 1);
    QVERIFY(!result);
    QVERIFY(!result.reason().isEmpty());
}

QTEST_GUILESS_MAIN(AcceptedSerialsTest)
#include "tst_acceptedserials.moc"
