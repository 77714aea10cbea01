#pragma once

#include "package/PackageClient.h"
#include "publish/ContentFolder.h"
#include "publish/ContentSource.h"
#include "publish/WrittenNotes.h"

namespace publish {

/// Reads the folder as a web server would serve it to a launcher, in the channel of that name if
/// there is one.
class FolderSource : public ContentSource
{
public:
    explicit FolderSource(const QString& content, const QString& channel = {});

    QByteArray fetch(const QString& address, QString* error) override;
    void look(const QStringList& addresses, const Found& found) override;
    [[nodiscard]] QString notedHash(const QString& address) const override;
    [[nodiscard]] QString baseUrl() const override { return m_base; }
    [[nodiscard]] bool isServer() const override { return false; }

private:
    [[nodiscard]] Presence presenceOf(const QString& path) const;
    [[nodiscard]] QString servedPath(const QString& address) const;

    const QString m_server = QStringLiteral("http://content");
    const QString m_base;
    ContentFolder m_tree;
    WrittenNotes m_notes;
    // Only its rule for addresses is used, which any thread may do.
    PackageClient m_client{nullptr};
};

} // namespace publish
