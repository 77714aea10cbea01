#include "package/InstallFixture.h"
#include "support/IsolatedHome.h"

#include <QMap>

#include <limits>
#include <utility>

using namespace Qt::StringLiterals;

namespace {

constexpr qint64 most = std::numeric_limits<qint64>::max();

} // namespace

class InstallProgressTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void reportsExactProgress_data() { InstallFixture::addForms(); }
    void reportsExactProgress();
    void progressDuringATransferCountsFromWhatIsDone_data() { InstallFixture::addForms(); }
    void progressDuringATransferCountsFromWhatIsDone();
    void unstatedSizesMayPassTheTotal_data() { InstallFixture::addForms(); }
    void unstatedSizesMayPassTheTotal();
    void hugeStatedSizesDoNotOverflow_data() { InstallFixture::addForms(); }
    void hugeStatedSizesDoNotOverflow();
};

void InstallProgressTest::reportsExactProgress()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.addFiles(4);
    const auto size = [&fixture](int i) { return fixture.tree().assets.at(i).packedsize; };
    testfiles::write(fixture.path(u"data/2.txt"_s), InstallFixture::contentOf(2));
    const qint64 total = size(0) + size(2) + size(3);
    VERIFY_SUCCESS(fixture.installAssets(form));
    // What the transfers themselves report is left to the network; the last report of each file is
    // not.
    QMap<int, Progress> last;
    qint64 before = 0;
    for (const Progress& step : std::as_const(fixture.progress())) {
        QCOMPARE(step.total, total);
        QCOMPARE(step.count, 4);
        QVERIFY(step.bytes >= before);
        before = step.bytes;
        last.insert(step.number, step);
    }
    QCOMPARE(last.values(), (QList<Progress>{{size(0), total, 1, 4},
                                             {size(0), total, 2, 4},
                                             {size(0) + size(2), total, 3, 4},
                                             {total, total, 4, 4}}));
}

void InstallProgressTest::progressDuringATransferCountsFromWhatIsDone()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    const QByteArray content = testfiles::randomBytes(400'000, 31);
    fixture.tree().addAsset(u"1"_s, InstallFixture::contentOf(1));
    fixture.tree().addAsset(u"2"_s, content);
    OrlFile& second = fixture.tree().assets[1];
    const QByteArray packed = packLzma(content);
    // What the server says of the length is of no account.
    second.packedsize = 1000;
    // Reports of a transfer come at most every 100 ms.
    fixture.server().route(fixture.tree().packedPath(second),
                           HttpAnswer::drip(packed, packed.size() / 5, 60));
    VERIFY_SUCCESS(fixture.installAssets(form));
    const qint64 first = fixture.tree().assets.at(0).packedsize;
    QList<Progress> steps;
    for (const Progress& step : std::as_const(fixture.progress())) {
        QCOMPARE(step.total, first + 1000);
        if (step.number == 2)
            steps.append(step);
    }
    QVERIFY(steps.size() >= 3);
    QVERIFY(steps.first().bytes > first);
    QVERIFY(steps.first().bytes < first + packed.size());
    QCOMPARE(steps.at(steps.size() - 2).bytes, first + packed.size());
    // The account at the end goes by the stated size.
    QCOMPARE(steps.last().bytes, first + 1000);
}

void InstallProgressTest::unstatedSizesMayPassTheTotal()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.addFiles(3);
    QList<OrlFile>& files = fixture.tree().assets;
    const qint64 first = files.at(0).packedsize;
    const qint64 second = files.at(1).packedsize;
    const qint64 third = files.at(2).packedsize;
    files[0].packedsize = -500;
    files[1].packedsize = 0;
    VERIFY_SUCCESS(fixture.installAssets(form));
    QCOMPARE(fixture.progress().last(), (Progress{first + second + third, third, 3, 3}));
}

void InstallProgressTest::hugeStatedSizesDoNotOverflow()
{
    QFETCH(Form, form);
    InstallFixture fixture;
    fixture.addFiles(3);
    for (OrlFile& file : fixture.tree().assets)
        file.packedsize = most;
    VERIFY_SUCCESS(fixture.installAssets(form));
    for (const Progress& step : std::as_const(fixture.progress())) {
        QCOMPARE(step.total, most);
        QVERIFY(step.bytes >= 0);
    }
    QCOMPARE(fixture.progress().last(), (Progress{most, most, 3, 3}));
}

VORNAK_TEST_MAIN(InstallProgressTest)
#include "tst_installprogress.moc"
