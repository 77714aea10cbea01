#pragma once

#include <QString>
#include <QStringList>

namespace publish {

/// What a hints document holds.
struct HintsReport
{
    int hints = 0;
    int pictures = 0;
    /// What the user should know and does not stop the installation.
    QStringList warnings;
};

/// Checks a hints document: whether every element is one that the launcher shows, whether it shows
/// the document at all, and whether each picture's address is one that it fetches. `pictures`
/// receives the paths below "/images/" that it names, each once. The report is filled in but for
/// the pictures. Returns a line for each fault.
[[nodiscard]] QStringList checkHints(const QByteArray& bytes, QStringList& pictures,
                                     HintsReport* report = nullptr);

/// Whether the bytes begin like a picture that the launcher can show (PNG, JPEG or GIF).
[[nodiscard]] bool looksLikePicture(const QByteArray& bytes);

/// Checks the document and its pictures, which are looked for below `images` (as below "/images/"
/// on the server) and then in the content itself, and installs the pictures, the document, and its
/// address in the metadata, if there is any, in this order. Nothing is written when there is a
/// fault. A damaged picture is replaced by the one that it was. `images` may be empty. A channel,
/// if its name is given, has a document and pictures of its own; its pictures may also come from
/// those that are served without a channel. Metadata that is signed stays as it is, with a warning.
[[nodiscard]] QStringList publishHints(const QString& file, const QString& content,
                                       const QString& images, const QString& publicUrl,
                                       HintsReport& report, const QString& channel = {});

} // namespace publish
