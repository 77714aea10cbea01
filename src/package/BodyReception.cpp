#include "package/BodyReception.h"

#include "package/EventLoopPacer.h"
#include "package/IncomingFile.h"

#include <QElapsedTimer>
#include <QNetworkReply>

#include <algorithm>

namespace {

// What may lie in Qt's buffers before the line has to wait: more than any line brings in one slice
// of work. Without a limit a fast line would fill them with the file while its beginning is
// decoded, in small pieces whose memory is not had back for the body.
constexpr qint64 mostAhead = qint64(2) << 20;

} // namespace

BodyReception::BodyReception(QNetworkReply& reply, IncomingFile* incoming, QObject* parent)
    : QObject(parent)
    , m_reply(reply)
    , m_incoming(incoming)
{
    if (m_incoming)
        m_reply.setReadBufferSize(mostAhead);
    m_again.setSingleShot(true);
    connect(&m_again, &QTimer::timeout, this, &BodyReception::work);
    connect(&reply, &QIODevice::readyRead, this, [this] {
        if (!m_again.isActive())
            work();
    });
    connect(&reply, &QNetworkReply::finished, this, &BodyReception::onFinished);
}

void BodyReception::stop()
{
    m_again.stop();
    disconnect(&m_reply, nullptr, this, nullptr);
    if (!m_reply.isFinished())
        m_reply.abort();
}

void BodyReception::onFinished()
{
    m_isTransferFinished = true;
    if (!m_again.isActive())
        work();
}

void BodyReception::work()
{
    QElapsedTimer clock;
    clock.start();
    while (takeSlice()) {
        if (clock.elapsed() >= EventLoopPacer::turnIntervalMs) {
            m_again.start();
            return;
        }
    }
    const bool isUseless = m_incoming && m_incoming->cannotBeWritten();
    if (isUseless)
        stop();
    if (isUseless || m_isTransferFinished)
        Q_EMIT ended();
}

// False when there is nothing to do before more of the body has come.
bool BodyReception::takeSlice()
{
    if (m_incoming && m_incoming->step())
        return true;
    if (m_incoming && m_incoming->cannotBeWritten())
        return false;
    const QByteArray piece = readPiece();
    m_received += piece.size();
    if (!m_incoming)
        m_body += piece;
    else if (!piece.isEmpty())
        m_incoming->add(piece);
    if (!piece.isEmpty())
        return true;
    if (!m_isTransferFinished || m_isBodyComplete || !m_incoming)
        return false;
    m_isBodyComplete = true;
    m_incoming->endBody();
    return true;
}

// Taken in pieces: one as large as all that has arrived would be in memory twice for a moment.
QByteArray BodyReception::readPiece()
{
    constexpr qint64 longest = 0x40000;
    const qint64 available = m_reply.isOpen() ? m_reply.bytesAvailable() : 0;
    QByteArray piece(static_cast<qsizetype>(std::clamp<qint64>(available, 0, longest)),
                     Qt::Uninitialized);
    const qint64 read = piece.isEmpty() ? 0 : m_reply.read(piece.data(), piece.size());
    piece.truncate(static_cast<qsizetype>(std::max<qint64>(read, 0)));
    return piece;
}
