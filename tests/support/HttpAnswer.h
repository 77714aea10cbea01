#pragma once

#include <QByteArray>
#include <QList>
#include <QPair>
#include <QString>

#include <functional>

/// How the scripted server answers a request: in full and at once, unless told otherwise. A value;
/// the static makers name the usual cases.
struct HttpAnswer
{
    enum class End {
        /// The connection stays open for the next request.
        Normal,
        /// Closes after `sentBytes` of the body.
        Close,
        /// Resets the connection after `sentBytes` of the body.
        Reset,
        /// Sends nothing more after `sentBytes` of the body and keeps the connection open.
        Hang,
    };

    int status = 200;
    QList<QPair<QByteArray, QByteArray>> headers;
    QByteArray body;
    End end = End::Normal;
    /// How much of the body is sent when the end is not a normal one.
    qsizetype sentBytes = 0;
    /// With End::Hang: not even the header is sent.
    bool silent = false;
    /// Content-Length; -1 for the body's size, -2 for none (the body then ends with the
    /// connection).
    qint64 announcedLength = -1;
    /// Sends the body in pieces of this size, one every `dripMs`; 0 for all at once.
    qsizetype dripBytes = 0;
    int dripMs = 0;
    /// Called when a request for this answer has arrived, before anything is sent.
    std::function<void()> onRequest;

    static HttpAnswer ok(const QByteArray& body);
    /// An error page with the given status.
    static HttpAnswer error(int status, const QByteArray& body = "<html>error page</html>");
    static HttpAnswer redirect(const QString& target, int status = 302);
    /// Announces the whole body, sends its first bytes and closes.
    static HttpAnswer truncated(const QByteArray& body, qsizetype sentBytes);
    /// Announces the whole body, sends its first bytes and resets the connection.
    static HttpAnswer resetAfter(const QByteArray& body, qsizetype sentBytes);
    static HttpAnswer drip(const QByteArray& body, qsizetype bytes, int milliseconds);
    /// Takes the request and never answers.
    static HttpAnswer stall();
    /// Announces the whole body, sends its first bytes and then nothing more.
    static HttpAnswer stallAfter(const QByteArray& body, qsizetype sentBytes);

    /// The same answer with a hook.
    [[nodiscard]] HttpAnswer calling(std::function<void()> hook) const;
};
