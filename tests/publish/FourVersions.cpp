#include "publish/FourVersions.h"

#include "package/LauncherMetadata.h"
#include "publish/Addresses.h"
#include "publish/FolderSource.h"
#include "publish/JobRunner.h"
#include "publish/PublishRequest.h"
#include "publish/Verification.h"
#include "publish/VerifyOptions.h"

using namespace Qt::StringLiterals;

namespace publish {

QStringList FourVersions::fill()
{
    QStringList faults;
    for (int version = 1; version <= 4; ++version)
        faults += publishFiles(QString::number(version), filesOf(version));
    return faults;
}

Files FourVersions::filesOf(int version)
{
    return {{u"client"_s, "program"},
            {u"own"_s, "own " + QByteArray::number(version)},
            {u"old"_s, "shared " + QByteArray::number(version)},
            {u"next"_s, "shared " + QByteArray::number(version + 1)}};
}

QStringList FourVersions::publishLauncher(const QString& version)
{
    setInput({{u"client"_s, launcherProgram(version)}});
    PublishRequest wanted = request(version);
    wanted.product = {true, {}};
    return run(wanted);
}

QStringList FourVersions::verify()
{
    FolderSource source(content());
    VerifyReport verified;
    return verifyContent(source, {}, {2, qint64(1) << 30}, progress, verified);
}

QString FourVersions::currentVersion() const
{
    const Files files = served();
    const LauncherMetadata metadata =
        readLauncherMetadata(files.value(addresses::metadata), nullptr);
    return QString::fromUtf8(
        files.value(metadata.packages.first().builds.first().versionurl.path()));
}

} // namespace publish
