#include "publish/UsedVersions.h"

#include "publish/Addresses.h"
#include "publish/ContentFolder.h"
#include "publish/MetadataDocument.h"
#include "publish/Product.h"
#include "publish/Progress.h"

#include <QDir>

namespace publish {

namespace {

constexpr QLatin1StringView versionsAddress("/.publisher/versions");
constexpr QLatin1StringView isThereMark("-");

bool hasDocument(const ContentFolder& tree, const QString& buildFolder)
{
    return tree.exists(buildFolder + addresses::packageDocument);
}

} // namespace

void UsedVersions::load(const ContentFolder& tree, const MetadataDocument& metadata,
                        const QDateTime& now)
{
    m_builds.clear();
    read(tree.read(versionsAddress));
    for (const Product& product : metadata.products()) {
        for (const QString& version : metadata.history(product)) {
            const QString folder = product.versionFolder(version);
            const QDir builds(tree.path(folder));
            for (const QString& name : builds.entryList(QDir::Dirs | QDir::NoDotAndDotDot)) {
                if (hasDocument(tree, folder + name + u'/'))
                    add(folder + name + u'/');
            }
        }
    }
    for (auto build = m_builds.begin(); build != m_builds.end();) {
        // Where only a document is missing, it is damage.
        if (!build->isValid() && !tree.exists(build.key()))
            *build = now;
        const bool isForgotten = build->isValid() && heldUntil(*build) <= now;
        build = isForgotten ? m_builds.erase(build) : std::next(build);
    }
}

void UsedVersions::read(const QByteArray& bytes)
{
    for (const QString& line : QString::fromLatin1(bytes).split(u'\n', Qt::SkipEmptyParts)) {
        const QStringList fields = line.split(u' ');
        const QDateTime removed = QDateTime::fromString(fields.value(1), Qt::ISODate);
        if (fields.size() == 2 && fields.first().startsWith(u'/') &&
            (removed.isValid() || fields.at(1) == isThereMark))
            m_builds.insert(fields.first(), removed);
    }
}

bool UsedVersions::isThere(const QString& buildFolder) const
{
    const auto build = m_builds.find(buildFolder);
    return build != m_builds.end() && !build->isValid();
}

std::optional<QDateTime> UsedVersions::removed(const QString& buildFolder) const
{
    const QDateTime time = m_builds.value(buildFolder);
    return time.isValid() ? std::optional(time) : std::nullopt;
}

// As long as documents are served with "max-age".
QDateTime UsedVersions::heldUntil(const QDateTime& removed)
{
    constexpr qint64 days = 365;
    return removed.addDays(days);
}

void UsedVersions::add(const QString& buildFolder)
{
    m_builds.insert(buildFolder, QDateTime());
}

void UsedVersions::keep(ContentFolder& tree, const QString& buildFolder, Progress& progress)
{
    QString error;
    add(buildFolder);
    if (!save(tree, &error))
        progress.warn(error);
}

void UsedVersions::remove(const QString& folder, const QDateTime& now)
{
    for (auto build = m_builds.begin(); build != m_builds.end(); ++build) {
        if (!build->isValid() && build.key().startsWith(folder))
            *build = now;
    }
}

bool UsedVersions::save(ContentFolder& tree, QString* error) const
{
    QByteArray bytes;
    for (auto build = m_builds.begin(); build != m_builds.end(); ++build) {
        const QString time =
            build->isValid() ? build->toUTC().toString(Qt::ISODate) : QString(isThereMark);
        bytes += build.key().toLatin1() + ' ' + time.toLatin1() + '\n';
    }
    return bytes == tree.read(versionsAddress) || tree.replace(versionsAddress, bytes, error);
}

} // namespace publish
