#include "publish/WrittenNotes.h"

#include "package/Unpack.h"
#include "publish/ContentFolder.h"

namespace publish {

namespace {

const QLatin1StringView between("  ");

QString notesAddress()
{
    return QStringLiteral("/.publisher/written.sha256");
}

} // namespace

WrittenNotes::WrittenNotes(const ContentFolder& tree)
{
    const QStringList lines = QString::fromUtf8(tree.read(notesAddress())).split(u'\n');
    for (const QString& line : lines) {
        if (line.size() > hashLength + between.size() &&
            QStringView(line).sliced(hashLength).startsWith(between))
            m_hashes.insert(u'/' + line.sliced(hashLength + between.size()),
                            line.first(hashLength));
    }
}

QString WrittenNotes::hash(const QString& address) const
{
    return m_hashes.value(address);
}

bool WrittenNotes::isDamage(const QString& address, const QByteArray& bytes) const
{
    const QString noted = hash(address);
    return !noted.isEmpty() && noted != hashBytes(bytes);
}

void WrittenNotes::note(const QString& address, const QByteArray& bytes)
{
    m_hashes.insert(address, hashBytes(bytes));
}

bool WrittenNotes::save(ContentFolder& tree, QString* error)
{
    QStringList addresses = m_hashes.keys();
    addresses.sort();
    QByteArray text;
    for (const QString& address : std::as_const(addresses)) {
        if (tree.exists(address.first(address.lastIndexOf(u'/') + 1)))
            text += (m_hashes.value(address) + between + address.sliced(1) + u'\n').toUtf8();
    }
    return text == tree.read(notesAddress()) || tree.replace(notesAddress(), text, error);
}

} // namespace publish
