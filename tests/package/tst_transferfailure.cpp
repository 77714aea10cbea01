#include "package/TransferFailure.h"

#include <QNetworkReply>
#include <QTest>

using namespace Qt::StringLiterals;

namespace {

/// An answer that has come to its end.
class EndedReply : public QNetworkReply
{
public:
    explicit EndedReply(qint64 length)
    {
        if (length >= 0)
            setHeader(QNetworkRequest::ContentLengthHeader, length);
    }
    void setEncoding(const QByteArray& header) { setRawHeader(header, "gzip"); }
    void fail() { setError(ConnectionRefusedError, u"nobody there"_s); }
    void abort() override {}

protected:
    qint64 readData(char*, qint64) override { return -1; }
};

QString reason(const QNetworkReply& reply, qsizetype received)
{
    return transferFailure(reply, received).value_or(u"none"_s);
}

} // namespace

class TransferFailureTest : public QObject
{
    Q_OBJECT

private Q_SLOTS:
    void wholeBodyIsNoFailure();
    void bodyCutShortIsAFailure();
    void lengthOfAnEncodedBodyIsNotCompared();
    void failureOfTheTransferGivesItsReason();
};

void TransferFailureTest::wholeBodyIsNoFailure()
{
    QCOMPARE(reason(EndedReply(20), 20), u"none"_s);
    QCOMPARE(reason(EndedReply(0), 0), u"none"_s);
    const qint64 unknown = -1;
    QCOMPARE(reason(EndedReply(unknown), 7), u"none"_s);
}

void TransferFailureTest::bodyCutShortIsAFailure()
{
    QCOMPARE(reason(EndedReply(20), 19), u"Connection closed"_s);
    QCOMPARE(reason(EndedReply(20), 0), u"Connection closed"_s);
    QCOMPARE(reason(EndedReply(0x200000000), 0x7fffffff), u"Connection closed"_s);
}

void TransferFailureTest::lengthOfAnEncodedBodyIsNotCompared()
{
    for (const char* header : {"Content-Encoding", "Transfer-Encoding"}) {
        EndedReply reply(20);
        reply.setEncoding(header);
        QCOMPARE(reason(reply, 7), u"none"_s);
    }
}

void TransferFailureTest::failureOfTheTransferGivesItsReason()
{
    EndedReply reply(20);
    reply.fail();
    QCOMPARE(reason(reply, 20), u"nobody there"_s);
}

QTEST_GUILESS_MAIN(TransferFailureTest)
#include "tst_transferfailure.moc"
