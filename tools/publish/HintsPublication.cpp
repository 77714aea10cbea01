#include "publish/HintsPublication.h"

#include "package/HintLimits.h"
#include "package/HintsDocument.h"
#include "package/SafeAddress.h"
#include "package/SafePath.h"
#include "publish/Addresses.h"
#include "publish/Channels.h"
#include "publish/ContentFolder.h"
#include "publish/Limits.h"
#include "publish/SignedContent.h"
#include "publish/WrittenNotes.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

#include <algorithm>
#include <utility>

namespace publish {

namespace {

// Addresses in the texts travel plain, as all others do.
bool isPlainPath(const QString& path)
{
    static const QRegularExpression plain(QStringLiteral("^[A-Za-z0-9._/-]+$"));
    return plain.match(path).hasMatch() && staysBelowFolder(path, PathRules::Windows);
}

// The fault of one picture's address; a path below "/images/" is added to `pictures`.
QString pictureFault(const QString& source, QChar quote, QStringList& pictures)
{
    if (source.startsWith(addresses::images)) {
        const QString path = source.sliced(addresses::images.size());
        if (quote != u'"')
            return QStringLiteral("the address %1 must stand in double quotes").arg(source);
        if (!isPlainPath(path))
            return QStringLiteral("%1 is not a plain path below /images/").arg(source);
        if (!pictures.contains(path))
            pictures.append(path);
        return {};
    }
    if (isWebAddress(QUrl(source)))
        return {};
    return QStringLiteral("the launcher cannot fetch the picture '%1'; put it below /images/")
        .arg(source);
}

QStringList pictureFaults(const QString& html, QStringList& pictures)
{
    static const QRegularExpression image(
        QStringLiteral("<img\\b[^>]*?\\bsrc\\s*=\\s*(?:(\")([^\"]*)\"|(')([^']*)'|([^\\s>]+))"),
        QRegularExpression::CaseInsensitiveOption);
    QStringList faults;
    auto found = image.globalMatch(html);
    while (found.hasNext()) {
        const QRegularExpressionMatch match = found.next();
        const bool isDouble = match.hasCaptured(1);
        const QString source = isDouble               ? match.captured(2)
                               : match.hasCaptured(3) ? match.captured(4)
                                                      : match.captured(5);
        const QString fault = pictureFault(source, isDouble ? u'"' : u'\'', pictures);
        if (!fault.isEmpty())
            faults.append(fault);
    }
    return faults;
}

QStringList titleWarnings(const QJsonArray& elements)
{
    QStringList warnings;
    for (qsizetype i = 0; i < elements.size(); ++i) {
        const qsizetype length = readHint(elements.at(i)).title.size();
        if (length > limits::hintTitleLength)
            warnings.append(QStringLiteral("hint %1: the title has %2 characters, over %3")
                                .arg(i + 1)
                                .arg(length)
                                .arg(limits::hintTitleLength));
    }
    return warnings;
}

std::optional<QByteArray> readFile(const QString& path)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    return file.readAll();
}

/// The pictures of one document, on their way into the tree.
class PictureSet
{
public:
    PictureSet(const ContentFolder& tree, QString images, const QString& channel)
        : m_tree(tree)
        , m_notes(tree)
        , m_images(std::move(images))
        , m_served(channels::images(channel))
    {}

    // Pictures keep their bytes under their name: clients and caches may hold them for long.
    QString add(const QString& path)
    {
        auto fresh = m_images.isEmpty() ? std::nullopt : readFile(QDir(m_images).filePath(path));
        const auto old = readFile(m_tree.path(m_served + path));
        if (!fresh && !old)
            fresh = readFile(m_tree.path(addresses::images + path));
        if (!fresh && !old)
            return QStringLiteral("%1%2: there is no such picture").arg(m_served, path);
        if (old && isDamaged(m_served + path, *old))
            return mend(path, fresh);
        if (!looksLikePicture(fresh ? *fresh : *old))
            return QStringLiteral("%1%2: not a PNG, JPEG or GIF picture").arg(m_served, path);
        if (fresh && old && *fresh != *old)
            return QStringLiteral("%1%2: another picture is served under this name; give the new "
                                  "one a new name")
                .arg(m_served, path);
        if (fresh && !old)
            m_new.append({path, *fresh});
        else
            m_notes.note(m_served + path, *old);
        return {};
    }

    bool install(ContentFolder& tree, QString* error)
    {
        const bool done =
            std::all_of(m_new.begin(), m_new.end(), [this, &tree, error](const auto& picture) {
                m_notes.note(m_served + picture.first, picture.second);
                return tree.replace(m_served + picture.first, picture.second, error);
            });
        return done && m_notes.save(tree, error);
    }

private:
    [[nodiscard]] bool isDamaged(const QString& address, const QByteArray& bytes) const
    {
        return m_notes.isDamage(address, bytes) || !looksLikePicture(bytes);
    }

    // Only by the picture that it was: caches may have that one.
    QString mend(const QString& path, const std::optional<QByteArray>& fresh)
    {
        const QString address = m_served + path;
        if (!fresh)
            return QStringLiteral("%1: the picture is damaged; give it with --images").arg(address);
        if (isDamaged(address, *fresh))
            return QStringLiteral("%1: the picture is damaged, and the one that is given is not "
                                  "what it was; give the new one a new name")
                .arg(address);
        m_new.append({path, *fresh});
        return {};
    }

    const ContentFolder& m_tree;
    WrittenNotes m_notes;
    QString m_images;
    QString m_served;
    QList<std::pair<QString, QByteArray>> m_new;
};

bool nameInMetadata(ContentFolder& tree, const QString& publicUrl, const QString& channel,
                    QStringList& warnings, QString* error)
{
    const QString address = channels::metadata(channel);
    if (!tree.exists(address))
        return true;
    auto metadata = channels::read(tree, channel, error);
    if (!metadata)
        return false;
    metadata->setHints(channels::hintsInMetadata(publicUrl, channel));
    const QByteArray bytes = metadata->bytes();
    if (bytes != tree.read(address) && signedcontent::isSigned(tree)) {
        warnings.append(QStringLiteral("the metadata is signed; the next publication names the "
                                       "hints' address in it"));
        return true;
    }
    return bytes == tree.read(address) || tree.replace(address, bytes, error);
}

} // namespace

bool looksLikePicture(const QByteArray& bytes)
{
    return bytes.startsWith("\x89PNG\r\n\x1a\n") || bytes.startsWith("\xff\xd8\xff") ||
           bytes.startsWith("GIF87a") || bytes.startsWith("GIF89a");
}

QStringList checkHints(const QByteArray& bytes, QStringList& pictures, HintsReport* report)
{
    QJsonParseError parseError;
    const QJsonDocument json = QJsonDocument::fromJson(bytes, &parseError);
    if (json.isNull())
        return {QStringLiteral("not JSON: %1 at byte %2")
                    .arg(parseError.errorString())
                    .arg(parseError.offset)};
    const QJsonValue member = json.object().value(QLatin1StringView("hints"));
    if (!json.isArray() && !member.isArray())
        return {QStringLiteral("neither an array nor an object with an array \"hints\"")};
    const QJsonArray elements = hintElements(json);
    QStringList faults;
    bool rich = false;
    for (qsizetype i = 0; i < elements.size(); ++i) {
        const HintEntry hint = readHint(elements.at(i));
        const QString where = QStringLiteral("hint %1: ").arg(i + 1);
        if (hint.richText.isEmpty())
            faults.append(where + QLatin1StringView("the launcher finds no text in it"));
        const QString tooMuch = hintFault(hint);
        if (!tooMuch.isEmpty())
            faults.append(where + tooMuch);
        for (const QString& fault : pictureFaults(hint.richText, pictures))
            faults.append(where + fault);
        rich = rich || isRichHint(hint);
    }
    if (elements.isEmpty())
        faults.append(QStringLiteral("there is no hint in it"));
    else if (!rich)
        faults.append(QStringLiteral(
            "no hint has a picture or a table; the launcher would show none of them"));
    if (report) {
        report->hints = static_cast<int>(elements.size());
        report->warnings = titleWarnings(elements);
    }
    return faults;
}

QStringList publishHints(const QString& file, const QString& content, const QString& images,
                         const QString& publicUrl, HintsReport& report, const QString& channel)
{
    const auto bytes = readFile(file);
    if (!bytes)
        return {QStringLiteral("%1: the file cannot be read").arg(file)};
    if (!images.isEmpty() && !QFileInfo(images).isDir())
        return {QStringLiteral("%1: no such folder").arg(images)};
    QStringList pictures;
    QStringList faults = checkHints(*bytes, pictures, &report);
    ContentFolder tree(content);
    PictureSet set(tree, images, channel);
    for (const QString& path : std::as_const(pictures)) {
        const QString fault = set.add(path);
        if (!fault.isEmpty())
            faults.append(fault);
    }
    report.pictures = static_cast<int>(pictures.size());
    if (!publicUrl.isEmpty()) {
        const QString fault = addresses::publicUrlFault(publicUrl);
        if (!fault.isEmpty())
            faults.append(fault);
    }
    if (!faults.isEmpty())
        return faults;
    QString error;
    const bool done = tree.openForWriting(&error) && set.install(tree, &error) &&
                      tree.replace(channels::hints(channel), *bytes, &error) &&
                      nameInMetadata(tree, publicUrl, channel, report.warnings, &error);
    return done ? QStringList() : QStringList(error);
}

} // namespace publish
