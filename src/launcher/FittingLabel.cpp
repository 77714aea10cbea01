#include "launcher/FittingLabel.h"

#include "launcher/PlainToolTip.h"

#include <QImage>
#include <QPainter>
#include <QTextOption>

#include <algorithm>
#include <cmath>

namespace {

// More than any label has room for; measuring takes time with the length.
constexpr qsizetype longest = 2000;

// Pixels. Some letters reach out of their place.
constexpr int sideMargin = 2;

QChar widestDigit(const QFontMetrics& metrics)
{
    const QString digits = QStringLiteral("0123456789");
    return *std::max_element(digits.begin(), digits.end(), [&metrics](QChar left, QChar right) {
        return metrics.horizontalAdvance(left) < metrics.horizontalAdvance(right);
    });
}

QString withDigits(QString text, QChar digit)
{
    std::replace_if(
        text.begin(), text.end(), [](QChar character) { return character.isDigit(); }, digit);
    return text;
}

QString withoutMiddle(const QString& text, qsizetype kept)
{
    const qsizetype head = kept / 2;
    return text.first(head) + QChar(0x2026) + text.last(kept - head);
}

QTextOption breaking(Qt::Alignment alignment)
{
    QTextOption option(alignment);
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    return option;
}

} // namespace

FittingLabel::FittingLabel(Limits limits, QWidget* parent)
    : QLabel(parent)
    , m_limits(limits)
{
    setTextFormat(Qt::PlainText);
    setMinimumHeight(m_limits.lowest);
}

void FittingLabel::showText(const QString& text, Width width)
{
    ensurePolished();
    const int natural =
        width == Width::OnlyGrows
            ? widthOfAnyDigits(text)
            : fontMetrics().horizontalAdvance(text.first(std::min(text.size(), longest)));
    // Metrics are rounded, lines are not: without a pixel to spare the last word would be broken
    // off.
    const int wanted = std::min(natural + 2 * sideMargin + 2, m_limits.widest);
    const bool isFixed = minimumSize() == maximumSize();
    setText(text);
    if (width == Width::OnlyGrows && isFixed && wanted <= minimumWidth() &&
        wanted < m_limits.widest) {
        m_fitted = m_painted = text;
        return;
    }
    setToolTip(QString());
    if (!text.isEmpty()) {
        fixSize(width == Width::OnlyGrows ? std::max(minimumWidth(), wanted) : wanted);
        return;
    }
    // The size of a label that never had a text: what is around it comes back to the pixel.
    setFixedSize(fontMetrics().averageCharWidth(),
                 std::max(fontMetrics().lineSpacing(), m_limits.lowest));
}

void FittingLabel::fixSize(int width)
{
    m_fitted = text();
    m_painted = fitting(m_fitted, width);
    setFixedSize(width, std::max(heightOf(m_painted, width), m_limits.lowest));
    if (m_painted != m_fitted)
        setToolTip(plainToolTip(m_fitted));
}

// Measuring a text takes longer than showing it. Progress comes in hundreds of texts a second that
// differ in nothing but their digits.
int FittingLabel::widthOfAnyDigits(const QString& text)
{
    const QString form = withDigits(text.first(std::min(text.size(), longest)), u'0');
    if (form != m_measuredForm) {
        const QFontMetrics metrics = fontMetrics();
        m_measuredWidth = metrics.horizontalAdvance(withDigits(form, widestDigit(metrics)));
        m_measuredForm = form;
    }
    return m_measuredWidth;
}

int FittingLabel::heightOf(const QString& text, int width) const
{
    // Font metrics know no breaking within words.
    QImage image(1, 1, QImage::Format_Mono);
    QPainter painter(&image);
    painter.setFont(font());
    const QRectF room(0, 0, width - 2 * sideMargin, QWIDGETSIZE_MAX);
    return static_cast<int>(
        std::ceil(painter.boundingRect(room, text, breaking(alignment())).height()));
}

QString FittingLabel::fitting(const QString& text, int width) const
{
    const int highest = heightOf(QString(m_limits.mostLines - 1, u'\n') + u'x', width);
    const QString whole = text.size() > longest ? withoutMiddle(text, longest) : text;
    if (heightOf(whole, width) <= highest)
        return whole;
    qsizetype fits = 0;
    for (qsizetype tooMany = whole.size(); fits + 1 < tooMany;) {
        const qsizetype middle = (fits + tooMany) / 2;
        if (heightOf(withoutMiddle(whole, middle), width) <= highest)
            fits = middle;
        else
            tooMany = middle;
    }
    return withoutMiddle(whole, fits);
}

void FittingLabel::paintEvent(QPaintEvent* event)
{
    // Also for a text that came by another way than showText().
    if (text().isEmpty() || text() != m_fitted) {
        QLabel::paintEvent(event);
        return;
    }
    QPainter painter(this);
    painter.setPen(palette().color(foregroundRole()));
    const QRectF room = contentsRect().adjusted(sideMargin, 0, -sideMargin, 0);
    painter.drawText(room, m_painted, breaking(alignment()));
}
