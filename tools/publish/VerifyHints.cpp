#include "publish/VerifyHints.h"

#include "publish/Addresses.h"
#include "publish/ContentSource.h"
#include "publish/HintsPublication.h"
#include "publish/VerifyBuilds.h"
#include "publish/VerifyOptions.h"
#include "publish/VerifyRun.h"

namespace publish {

namespace {

QString where()
{
    return QStringLiteral("hints");
}

void readPictures(VerifyRun& run, const QStringList& pictures, const QString& command)
{
    for (const QString& picture : pictures) {
        const QByteArray body = run.fetch(where(), picture, command);
        if (!body.isEmpty() && !looksLikePicture(body))
            run.addFault(where(),
                         QStringLiteral("%1 is not a PNG, JPEG or GIF picture").arg(picture),
                         command);
    }
}

void lookAtPictures(VerifyRun& run, const QStringList& pictures, const QString& command)
{
    run.look(pictures, [&](qsizetype index, const Presence& presence) {
        const QString fault = presence.size == 0 ? QStringLiteral("it is empty") : presence.fault;
        if (!fault.isEmpty())
            run.addFault(where(),
                         QStringLiteral("%1 cannot be read: %2").arg(pictures.at(index), fault),
                         command);
    });
}

} // namespace

void verifyHints(VerifyRun& run, const VerifyOptions& options)
{
    const QString command = options.channel.isEmpty()
                                ? QStringLiteral("hints")
                                : QStringLiteral("hints --channel %1").arg(options.channel);
    const QByteArray bytes = run.fetch(where(), addresses::hints, command);
    if (bytes.isEmpty())
        return;
    QStringList pictures;
    for (const QString& fault : checkHints(bytes, pictures, nullptr))
        run.addFault(where(), fault, command);
    for (QString& picture : pictures)
        picture.prepend(addresses::images);
    if (options.quick)
        lookAtPictures(run, pictures, command);
    else
        readPictures(run, pictures, command);
}

} // namespace publish
