#include "publish/AssetsIdentity.h"

#include "package/Unpack.h"
#include "publish/Addresses.h"
#include "publish/ContentFolder.h"

#include <QRandomGenerator>

namespace publish {

namespace {

constexpr QChar separator = u'-';
constexpr qsizetype freshLength = 16;

QString freshPart()
{
    return QStringLiteral("%1").arg(QRandomGenerator::system()->generate64(), freshLength, 16,
                                    QChar(u'0'));
}

// Of its own kind, with nothing missing at its end.
bool isWhole(const QString& identity, const QString& listHash)
{
    return identity.startsWith(listHash + separator) &&
           identity.size() == hashLength + 1 + freshLength;
}

QString addressOf(const QString& buildFolder, const QString& identity)
{
    return buildFolder + QStringLiteral("assets-%1.txt").arg(identity.sliced(hashLength + 1));
}

} // namespace

// A bare hash is not carried on: the publishers that wrote it let it come back, so it may lie over
// a mixture already.
QString assetsidentity::next(const QByteArray& list, const QString& served)
{
    const QString hash = hashBytes(list);
    return isWhole(served, hash) ? served : hash + separator + freshPart();
}

bool assetsidentity::belongsTo(const QString& identity, const QByteArray& list)
{
    const QString hash = hashBytes(list);
    return identity == hash || isWhole(identity, hash);
}

QString assetsidentity::servedAt(const ContentFolder& tree, const QString& address)
{
    const QString path = addresses::onServer(address);
    return path.isEmpty() ? QString() : QString::fromUtf8(tree.read(path)).trimmed();
}

bool assetsidentity::provide(ContentFolder& tree, const QString& buildFolder, const QString& served,
                             QString& address, QString* error)
{
    address.clear();
    if (!tree.exists(buildFolder + addresses::assetList))
        return true;
    const QString identity = next(tree.read(buildFolder + addresses::assetList), served);
    for (const QString& place :
         {buildFolder + addresses::assetsIdentity, addressOf(buildFolder, identity)}) {
        if (servedAt(tree, place) == identity) {
            address = place;
            return true;
        }
    }
    address = addressOf(buildFolder, identity);
    return tree.replace(address, identity.toLatin1(), error);
}

} // namespace publish
