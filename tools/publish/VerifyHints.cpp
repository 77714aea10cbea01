#include "publish/VerifyHints.h"

#include "publish/Addresses.h"
#include "publish/HintsPublication.h"
#include "publish/VerifyRun.h"

namespace {

// Both the begin of a fault's line and the command that mends it.
const QString name = QStringLiteral("hints");

void readPictures(VerifyRun& run, const QStringList& pictures)
{
    for (const QString& picture : pictures) {
        const QByteArray body = run.fetch(name, picture, name);
        if (!body.isEmpty() && !looksLikePicture(body))
            run.addFault(name, QStringLiteral("%1 is not a PNG, JPEG or GIF picture").arg(picture),
                         name);
    }
}

void lookAtPictures(VerifyRun& run, const QStringList& pictures)
{
    run.look(pictures, [&](qsizetype index, const Presence& presence) {
        const QString fault = presence.size == 0 ? QStringLiteral("it is empty") : presence.fault;
        if (!fault.isEmpty())
            run.addFault(
                name, QStringLiteral("%1 cannot be read: %2").arg(pictures.at(index), fault), name);
    });
}

} // namespace

void verifyHints(VerifyRun& run, bool quick)
{
    const QByteArray bytes = run.fetch(name, addresses::hints, name);
    if (bytes.isEmpty())
        return;
    QStringList pictures;
    for (const QString& fault : checkHints(bytes, pictures, nullptr))
        run.addFault(name, fault, name);
    for (QString& picture : pictures)
        picture.prepend(addresses::images);
    if (quick)
        lookAtPictures(run, pictures);
    else
        readPictures(run, pictures);
}
