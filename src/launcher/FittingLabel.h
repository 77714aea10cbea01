#pragma once

#include <QLabel>
#include <QString>

/// A label for plain texts that come from elsewhere and may be of any length. It is as wide as its
/// text as long as that fits, then breaks it into lines (also within a word: a path has nothing
/// else to be broken at), and in the end leaves out the middle and tells the whole as its tool tip.
class FittingLabel : public QLabel
{
    Q_OBJECT

public:
    struct Limits
    {
        /// Pixels.
        int widest;
        int mostLines;
        /// Pixels; kept also without a text.
        int lowest = 0;
    };

    FittingLabel(Limits limits, QWidget* parent);

    enum class Width {
        Fits,
        /// For a text that changes many times a second: a label that twitches with every digit
        /// would have its whole window laid out each time.
        OnlyGrows
    };

    /// Shows the text and takes the size that it needs. The tool tip is the text when some of it
    /// is left out, else empty.
    void showText(const QString& text, Width width = Width::Fits);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    [[nodiscard]] int widthOfAnyDigits(const QString& text);
    [[nodiscard]] int heightOf(const QString& text, int width) const;
    [[nodiscard]] QString fitting(const QString& text, int width) const;
    void fixSize(int width);

    Limits m_limits;
    // The text that was fitted, and what of it is painted.
    QString m_fitted;
    QString m_painted;
    // The last text that was measured, with all digits alike, and its width.
    QString m_measuredForm;
    int m_measuredWidth = 0;
};
