#include "package/HintLimits.h"

#include <QStringView>

#include <algorithm>
#include <vector>

namespace {

bool isOneOf(QStringView name, std::initializer_list<const char*> names)
{
    return std::any_of(names.begin(), names.end(), [name](const char* one) {
        return name.compare(QLatin1StringView(one), Qt::CaseInsensitive) == 0;
    });
}

bool isCell(QStringView name)
{
    return isOneOf(name, {"td", "th"});
}

bool hasNoEnd(QStringView name)
{
    return isOneOf(name, {"br", "hr", "img", "meta", "link", "input", "col"});
}

/// Reads a text tag by tag and stops at the first limit. Qt's reader takes more for a tag than this
/// one; where the two could differ on where something ends, the hint is refused.
class HintReader
{
public:
    explicit HintReader(QStringView text)
        : m_text(text)
    {}

    QString fault()
    {
        while (m_at < m_text.size() && m_fault.isEmpty()) {
            if (m_text.at(m_at) == u'<')
                readMarkup();
            else
                readCharacter();
        }
        return m_fault;
    }

private:
    void readCharacter()
    {
        const QChar character = m_text.at(m_at++);
        m_word = character.isSpace() ? 0 : m_word + 1;
        if (m_word > hintlimits::wordLength)
            fail(QStringLiteral("a word has more than %1 characters").arg(hintlimits::wordLength));
        countWork(1);
    }

    void readMarkup()
    {
        m_word = 0;
        const qsizetype begin = m_at++;
        while (m_at < m_text.size() && m_text.at(m_at).isSpace())
            ++m_at;
        const QStringView rest = m_text.sliced(m_at);
        if (rest.startsWith(QLatin1StringView("!--"))) {
            skipPast(m_text.indexOf(QLatin1StringView("-->"), m_at + 3), 3);
            return;
        }
        const bool isEnd = rest.startsWith(u'/');
        const QStringView name = nameAt(m_at + (isEnd ? 1 : 0));
        skipPast(m_text.indexOf(u'>', m_at), 1);
        const QStringView tag = m_text.sliced(begin, m_at - begin);
        countWork(tag.size());
        if (!isPlain(tag) || (name.isEmpty() && !isEnd && !rest.startsWith(u'!')))
            fail(QStringLiteral("a tag has no plain name, or a quote without an end"));
        else if (isEnd)
            close(name);
        else if (!name.isEmpty())
            open(name, tag);
    }

    [[nodiscard]] QStringView nameAt(qsizetype begin) const
    {
        qsizetype end = begin;
        while (end < m_text.size() && m_text.at(end).isLetterOrNumber())
            ++end;
        const bool isWhole = end == m_text.size() || m_text.at(end).isSpace() ||
                             m_text.at(end) == u'>' || m_text.at(end) == u'/';
        return isWhole ? m_text.sliced(begin, end - begin) : QStringView();
    }

    /// Whether the tag ends where it seems to: at the first ">", outside of quotes and before the
    /// next tag.
    static bool isPlain(QStringView tag)
    {
        QChar quote;
        for (const QChar character : tag.sliced(1)) {
            if (character == u'<')
                return false;
            if (!quote.isNull())
                quote = character == quote ? QChar() : quote;
            else if (character == u'"' || character == u'\'')
                quote = character;
        }
        return quote.isNull() && tag.endsWith(u'>');
    }

    void skipPast(qsizetype found, qsizetype length)
    {
        m_at = found < 0 ? m_text.size() : found + length;
    }

    void open(QStringView name, QStringView tag)
    {
        if (isOneOf(name, {"img"}) && ++m_pictures > hintlimits::pictures)
            fail(QStringLiteral("it names more than %1 pictures").arg(hintlimits::pictures));
        if (isCell(name) && (++m_cells > hintlimits::cells || spansTooMuch(tag)))
            fail(QStringLiteral("it has more than %1 cells, or one that spans more than %2")
                     .arg(hintlimits::cells)
                     .arg(hintlimits::spannedCells));
        // What lies in these is no text, or not read as such.
        if (isOneOf(name, {"style", "script", "title"}))
            fail(QStringLiteral("it has a style, a script or a title of its own"));
        if (hasNoEnd(name))
            return;
        endWhatIsOver(name);
        m_open.push_back(name);
        if (std::ssize(m_open) > hintlimits::nestedTags)
            fail(QStringLiteral("its tags lie more than %1 deep").arg(hintlimits::nestedTags));
        if (isOneOf(name, {"table"}) && ++m_tables > hintlimits::nestedTables)
            fail(QStringLiteral("its tables lie more than %1 deep").arg(hintlimits::nestedTables));
    }

    /// Cells, rows and paragraphs end where the next one begins.
    void endWhatIsOver(QStringView next)
    {
        if (isOneOf(next, {"tr"}) && !m_open.empty() && isCell(m_open.back()))
            m_open.pop_back();
        if (m_open.empty())
            return;
        const bool isNextCell = isCell(next) && isCell(m_open.back());
        const bool isNextOne =
            isOneOf(next, {"tr", "p"}) && next.compare(m_open.back(), Qt::CaseInsensitive) == 0;
        if (isNextCell || isNextOne)
            m_open.pop_back();
    }

    void close(QStringView name)
    {
        const auto same = std::find_if(m_open.rbegin(), m_open.rend(), [name](QStringView one) {
            return one.compare(name, Qt::CaseInsensitive) == 0;
        });
        if (same == m_open.rend())
            return;
        m_tables -= static_cast<int>(std::count_if(
            m_open.rbegin(), same + 1, [](QStringView one) { return isOneOf(one, {"table"}); }));
        m_open.erase(std::prev(same.base()), m_open.end());
    }

    static bool spansTooMuch(QStringView tag)
    {
        for (const char* name : {"colspan", "rowspan"}) {
            qsizetype at = tag.indexOf(QLatin1StringView(name), 0, Qt::CaseInsensitive);
            for (; at >= 0 && at < tag.size() && !tag.at(at).isDigit(); ++at)
                ;
            qsizetype end = std::max<qsizetype>(at, 0);
            while (at >= 0 && end < tag.size() && tag.at(end).isDigit())
                ++end;
            bool isNumber = false;
            if (at >= 0 && end > at &&
                (tag.sliced(at, end - at).toInt(&isNumber) > hintlimits::spannedCells || !isNumber))
                return true;
        }
        return false;
    }

    void countWork(qint64 characters)
    {
        m_work += characters << std::min(m_tables, hintlimits::nestedTables);
        if (m_work > hintlimits::work)
            fail(QStringLiteral("too much text lies in tables within tables"));
    }

    void fail(const QString& text)
    {
        if (m_fault.isEmpty())
            m_fault = text;
    }

    QStringView m_text;
    qsizetype m_at = 0;
    std::vector<QStringView> m_open;
    int m_tables = 0;
    int m_pictures = 0;
    int m_cells = 0;
    int m_word = 0;
    qint64 m_work = 0;
    QString m_fault;
};

} // namespace

QString hintFault(const HintEntry& hint)
{
    // As UTF-8 it is as long at least; counting first spares converting what is much too long.
    const qsizetype units = hint.title.size() + hint.richText.size();
    if (units > hintlimits::bytes ||
        hint.title.toUtf8().size() + hint.richText.toUtf8().size() > hintlimits::bytes)
        return QStringLiteral("it is larger than %1 KiB").arg(hintlimits::bytes / 1024);
    return HintReader(hint.richText).fault();
}
