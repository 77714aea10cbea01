#pragma once

#include <QByteArray>
#include <QString>
#include <QStringList>
#include <QUrl>

#include <functional>

namespace publish {

/// What a source tells of something without handing it over.
struct Presence
{
    /// Why it cannot be had; empty when it can.
    QString fault;
    /// In bytes; -1 when a server does not tell it.
    qint64 size = -1;
    /// As a web server's answer has them; empty where there is none.
    QByteArray cacheControl = {};
    QByteArray contentType = {};
    QByteArray contentEncoding = {};
};

/// Where a verifier reads from: a content folder, or a web server.
class ContentSource
{
public:
    using Found = std::function<void(qsizetype index, const Presence& presence)>;

    ContentSource() = default;
    virtual ~ContentSource() = default;
    Q_DISABLE_COPY_MOVE(ContentSource)

    /// The whole body behind an address as documents name it, the way the launcher resolves it;
    /// empty with a text when it cannot be had. Several threads may call it at once if
    /// isServer() is false; else only the thread that made the source may.
    [[nodiscard]] virtual QByteArray fetch(const QString& address, QString* error) = 0;

    /// Tells of each address, in any order, what can be told without reading it. `found` is called
    /// on this thread, and not any more after the return.
    virtual void look(const QStringList& addresses, const Found& found) = 0;

    /// The hash that was noted of the bytes behind an address when they were written; empty when
    /// none was, or when it is not known here.
    [[nodiscard]] virtual QString notedHash(const QString& address) const = 0;

    /// The base address of the launchers that read from here.
    [[nodiscard]] virtual QString baseUrl() const = 0;

    /// Whether it is a web server: one that sends headers which caches go by.
    [[nodiscard]] virtual bool isServer() const = 0;

protected:
    /// What a launcher of this base address asks for when a document names `address`; may still be
    /// relative to the base.
    [[nodiscard]] static QUrl requested(const QString& base, const QString& address);
};

} // namespace publish
