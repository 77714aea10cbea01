#include "shared/PictureHandler.h"

#include <QAbstractTextDocumentLayout>
#include <QBuffer>
#include <QImageReader>
#include <QTextDocument>
#include <QTextFormat>
#include <QUrl>
#include <QVariant>

namespace shared {

namespace {

bool isPicture(const QVariant& resource)
{
    if (resource.typeId() != QMetaType::QByteArray)
        return resource.typeId() == QMetaType::QPixmap || resource.typeId() == QMetaType::QImage;
    const QSize size = pictureSize(resource.toByteArray());
    return size.isValid() && !isTooLarge(size);
}

// Asks the document, which has what is missing fetched.
bool isThere(const QTextDocument& document, const QString& name)
{
    const QUrl address(name.startsWith(QLatin1StringView(":/")) ? QLatin1StringView("qrc") + name
                                                                : name);
    return isPicture(document.resource(QTextDocument::ImageResource, address));
}

} // namespace

QSize pictureSize(QByteArray bytes)
{
    QBuffer buffer(&bytes);
    return QImageReader(&buffer).size();
}

bool isTooLarge(QSize size)
{
    constexpr int longest = 4096;
    return size.width() > longest || size.height() > longest;
}

void PictureHandler::install(QTextDocument& document)
{
    QAbstractTextDocumentLayout* layout = document.documentLayout();
    QTextObjectInterface* usual = layout->handlerForObject(QTextFormat::ImageObject);
    layout->registerHandler(QTextFormat::ImageObject, new PictureHandler(usual, layout));
}

PictureHandler::PictureHandler(QTextObjectInterface* usual, QObject* parent)
    : QObject(parent)
    , m_usual(usual)
{}

QSizeF PictureHandler::intrinsicSize(QTextDocument* document, int position,
                                     const QTextFormat& format)
{
    const QTextImageFormat image = format.toImageFormat();
    const bool isSized =
        image.hasProperty(QTextFormat::ImageWidth) && image.hasProperty(QTextFormat::ImageHeight);
    if (isSized || isThere(*document, image.name()))
        return m_usual->intrinsicSize(document, position, format);
    return {image.width(), image.height()};
}

void PictureHandler::drawObject(QPainter* painter, const QRectF& place, QTextDocument* document,
                                int position, const QTextFormat& format)
{
    if (isThere(*document, format.toImageFormat().name()))
        m_usual->drawObject(painter, place, document, position, format);
}

} // namespace shared
