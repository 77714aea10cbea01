#pragma once

#include <QByteArray>
#include <QObject>
#include <QSize>
#include <QTextObjectInterface>

class QTextDocument;

namespace shared {

/// The size that the picture's header states; invalid for bytes that are no picture. Decodes
/// nothing.
[[nodiscard]] QSize pictureSize(QByteArray bytes);

/// Whether a picture of that size is not decoded: a few bytes may stand for one that fills the
/// memory.
[[nodiscard]] bool isTooLarge(QSize size);

/// Draws the pictures of a text document. One that is not there, is no picture or has more than
/// 4096 pixels a side leaves its place empty: Qt would draw the sign of a file there, and first try
/// to read the picture's name as the path of a file, which on Windows may lead to another machine.
class PictureHandler : public QObject, public QTextObjectInterface
{
    Q_OBJECT
    Q_INTERFACES(QTextObjectInterface)

public:
    /// Takes over from Qt's own handler, which goes on drawing what is there. Lives as long as the
    /// document's layout.
    static void install(QTextDocument& document);

    QSizeF intrinsicSize(QTextDocument* document, int position, const QTextFormat& format) override;
    void drawObject(QPainter* painter, const QRectF& place, QTextDocument* document, int position,
                    const QTextFormat& format) override;

private:
    PictureHandler(QTextObjectInterface* usual, QObject* parent);

    QTextObjectInterface* m_usual;
};

} // namespace shared
