#include "publish/VerifyDocuments.h"

#include "package/LauncherMetadata.h"
#include "publish/AssetsIdentity.h"
#include "publish/VerifyRun.h"

#include <algorithm>

namespace publish {

namespace {

bool hasFile(const QList<OrlFile>& files, const QString& path)
{
    return std::any_of(files.begin(), files.end(),
                       [&path](const OrlFile& file) { return file.localfile == path; });
}

} // namespace

std::optional<OrlPackageDoc> readDocument(VerifyRun& run, const LauncherBuild& build,
                                          const BuildPlace& place)
{
    const auto& [where, command] = place;
    const QString address = build.url.toString();
    const QString version = QString::fromUtf8(run.fetch(where, build.versionurl.toString(), command,
                                                        build.versionurlsha256))
                                .trimmed();
    const QByteArray bytes = run.fetch(where, address, command, build.urlsha256);
    if (bytes.isEmpty())
        return std::nullopt;
    QString error;
    OrlPackageDoc doc = parsePackageDoc(bytes, &error);
    if (!error.isEmpty() || doc.files.isEmpty()) {
        run.addFault(where, QStringLiteral("%1 is no package document with files").arg(address),
                     command);
        return std::nullopt;
    }
    if (!version.isEmpty() && version != doc.version)
        run.addFault(where,
                     QStringLiteral("the version text is '%1' but the document is of '%2'")
                         .arg(version, doc.version),
                     command);
    if (!hasFile(doc.files, doc.executable))
        run.addFault(
            where, QStringLiteral("the executable '%1' is not among the files").arg(doc.executable),
            command);
    return doc;
}

QList<OrlFile> readAssets(VerifyRun& run, const LauncherBuild& build, const BuildPlace& place)
{
    const auto& [where, command] = place;
    if (build.assetsurl.isEmpty())
        return {};
    const QByteArray list =
        run.fetch(where, build.assetsurl.toString(), command, build.assetsurlsha256);
    const QString identity =
        build.assetsversionurl.isEmpty()
            ? QString()
            : QString::fromUtf8(run.fetch(where, build.assetsversionurl.toString(), command,
                                          build.assetsversionurlsha256))
                  .trimmed();
    if (list.isEmpty())
        return {};
    QString error;
    const QList<OrlFile> files = parseAssetList(list, &error);
    if (!error.isEmpty()) {
        run.addFault(where, QStringLiteral("%1 is no asset list").arg(build.assetsurl.toString()),
                     command);
        return {};
    }
    // Launchers take any text, but only the hash shows a list that came without its identity.
    if (!identity.isEmpty() && !assetsidentity::belongsTo(identity, list))
        run.addFault(where,
                     QStringLiteral("%1 belongs to another asset list")
                         .arg(build.assetsversionurl.toString()),
                     command);
    return files;
}

} // namespace publish
