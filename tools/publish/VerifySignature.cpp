#include "publish/VerifySignature.h"

#include "package/Hashes.h"
#include "package/LauncherMetadata.h"
#include "package/SignedTerms.h"
#include "publish/Addresses.h"
#include "publish/Progress.h"
#include "publish/Verification.h"
#include "publish/VerifyOptions.h"
#include "publish/VerifyRun.h"

#include <QDateTime>

#include <initializer_list>
#include <utility>

namespace publish {

namespace {

constexpr qint64 daysToWarnOf = 7;
const QString metadataPlace = QStringLiteral("launcher metadata");
const QString command = QStringLiteral("sign");

void warnOfTheEnd(const SignedTerms& terms, const QDateTime& now, Progress& progress)
{
    const QDateTime end = QDateTime::fromString(terms.expires.value_or(QString()), Qt::ISODate);
    if (end.isValid() && end > now && end < now.addDays(daysToWarnOf))
        progress.warn(QStringLiteral("launchers take the metadata until %1 only; 'sign "
                                     "--expires-in DAYS' gives it more time")
                          .arg(*terms.expires));
}

} // namespace

void verifySignature(VerifyRun& run, const QByteArray& metadata, const VerifyOptions& options,
                     Progress& progress, VerifyReport& report)
{
    const SignedTerms terms = readSignedTerms(metadata);
    report.serial = terms.serial;
    report.expires = terms.expires.value_or(QString());
    if (options.keys.isEmpty())
        return;
    const QByteArray signature = run.fetch(
        metadataPlace, addresses::signatures + hashBytes(metadata) + QLatin1StringView(".minisig"),
        command);
    const QString fault = signature.isEmpty()
                              ? QString()
                              : minisign::signatureFault(metadata, signature, options.keys);
    if (!fault.isEmpty())
        run.addFault(metadataPlace, fault, command);
    const QDateTime now = QDateTime::currentDateTimeUtc();
    const QString misuse = termsFault(terms, run.source().baseUrl(), 0, now);
    if (!misuse.isEmpty())
        run.addFault(metadataPlace, misuse, command);
    warnOfTheEnd(terms, now, progress);
}

void verifyHashesAreStated(VerifyRun& run, const LauncherBuild& build, const QString& where)
{
    const std::initializer_list<std::pair<const QUrl&, const QString&>> stated{
        {build.url, build.urlsha256},
        {build.versionurl, build.versionurlsha256},
        {build.assetsurl, build.assetsurlsha256},
        {build.assetsversionurl, build.assetsversionurlsha256},
    };
    for (const auto& [address, hash] : stated) {
        if (!address.isEmpty() && hash.isEmpty())
            run.addFault(where,
                         QStringLiteral("the metadata does not state the hash of %1")
                             .arg(address.toString()),
                         command);
    }
}

} // namespace publish
