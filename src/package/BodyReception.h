#pragma once

#include <QByteArray>
#include <QObject>
#include <QTimer>

class IncomingFile;
class QNetworkReply;

/// Takes the body of one reply as it arrives and does an incoming file's work on it, in slices
/// between which the event loop turns. Both forms of a download stand on it: one waits in a nested
/// loop for ended(), the other goes on with what else there is to do.
class BodyReception : public QObject
{
    Q_OBJECT

public:
    /// Begins with the next turn of the event loop. Without an incoming file the body is gathered.
    /// Both must live until ended().
    BodyReception(QNetworkReply& reply, IncomingFile* incoming, QObject* parent = nullptr);

    /// The body; empty when it went into an incoming file.
    [[nodiscard]] QByteArray body() const { return m_body; }
    /// Bytes of the body that have been taken from the reply.
    [[nodiscard]] qint64 received() const { return m_received; }

    /// Ends here: aborts the transfer if it is still going on, and takes nothing more.
    void stop();

Q_SIGNALS:
    /// The transfer has finished and its body has been worked off, or the incoming file cannot be
    /// written, so that the transfer was aborted. Nothing here is touched after it.
    void ended();

private:
    void onFinished();
    void work();
    bool takeSlice();
    [[nodiscard]] QByteArray readPiece();

    QNetworkReply& m_reply;
    IncomingFile* m_incoming;
    QByteArray m_body;
    qint64 m_received = 0;
    QTimer m_again;
    bool m_isTransferFinished = false;
    bool m_isBodyComplete = false;
};
