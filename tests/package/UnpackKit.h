#pragma once

#include "package/Unpack.h"
#include "support/PackLzma.h"
#include "support/TestFiles.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QTest>

Q_DECLARE_METATYPE(PackOptions::Size)

/// What the tests of unpackLzma() have in common.
namespace unpackkit {

using namespace Qt::StringLiterals;

/// Bytes before the compressed stream.
inline constexpr qsizetype headerSize = 13;

inline const QString failure = u"Failed to decompress file downloaded from"_s;
inline const QByteArray untouched = "what was there before";

/// What came of unpacking one stream into an output that held something already.
struct Outcome
{
    bool ok = false;
    QByteArray out = untouched;
    QString error = u"earlier"_s;
};

inline Outcome unpack(const QByteArray& packed, const SliceFunction& onSlice = {})
{
    Outcome outcome;
    outcome.ok = unpackLzma(packed, outcome.out, &outcome.error, onSlice);
    return outcome;
}

inline bool succeedsWith(const Outcome& outcome, const QByteArray& content)
{
    return outcome.ok && outcome.out == content && outcome.error == u"earlier"_s;
}

inline bool failsWith(const Outcome& outcome, const QByteArray& out)
{
    return !outcome.ok && outcome.out == out && outcome.error == failure;
}

inline bool failsEmpty(const Outcome& outcome)
{
    return failsWith(outcome, {});
}

inline QByteArray pack(const QByteArray& content, PackOptions::Size size)
{
    PackOptions options;
    options.size = size;
    return packLzma(content, options);
}

inline QList<QByteArray> contents()
{
    return {QByteArray(""),
            "x",
            QByteArray(300, '\0'),
            testfiles::textBytes(5000),
            testfiles::randomBytes(5000, 11),
            testfiles::textBytes(200) + testfiles::randomBytes(200, 12)};
}

/// A row for each way in which a header can tell the size, in the column "size".
inline void addSizeForms()
{
    QTest::addColumn<PackOptions::Size>("size");
    QTest::newRow("known") << PackOptions::Size::Known;
    QTest::newRow("known, with marker") << PackOptions::Size::KnownWithMarker;
    QTest::newRow("unknown") << PackOptions::Size::Unknown;
}

} // namespace unpackkit
