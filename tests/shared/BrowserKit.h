#pragma once

#include "shared/QTextBrowserWithNetwork.h"

#include <QBuffer>
#include <QImage>
#include <QTextDocument>

/// What the tests of the text browser have in common.
namespace browserkit {

using namespace Qt::StringLiterals;

inline constexpr int pictureHeight = 180;

inline QByteArray picture()
{
    QImage image(40, pictureHeight, QImage::Format_RGB32);
    image.fill(Qt::red);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return bytes;
}

inline QString image(const QUrl& url)
{
    return u"<p><img src=\"%1\"></p>"_s.arg(url.toString());
}

/// A browser that is laid out, so that it asks for its pictures.
class ShownBrowser : public shared::QTextBrowserWithNetwork
{
public:
    ShownBrowser()
    {
        resize(542, 110);
        show();
        connect(this, &QTextBrowser::textChanged, this, [this] { ++m_changes; });
    }

    /// Sets the content and has it laid out at once. Returns how many changes of text that made.
    int setContent(const QString& html)
    {
        const int before = m_changes;
        setHtml(html);
        document()->size();
        return m_changes - before;
    }

    [[nodiscard]] QImage picture() const { return viewport()->grab().toImage(); }
    [[nodiscard]] QRgb emptyColour() const { return picture().pixel(500, 5); }
    [[nodiscard]] int changes() const { return m_changes; }
    [[nodiscard]] bool showsPictures() const
    {
        return document()->size().height() >= pictureHeight;
    }

private:
    int m_changes = 0;
};

} // namespace browserkit
