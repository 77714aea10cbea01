#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QString>

#include <optional>

/// What signed launcher metadata says of itself, so that nobody can serve it in another place or
/// after its time.
struct SignedTerms
{
    /// Member "serial": higher in each document than in all that were signed before it, those of
    /// channels included; from 1 to 2^53 - 1. 0 stands for a missing or wrong one.
    qint64 serial = 0;
    /// Member "expires": the text of the time until which the document may be used, as ISO 8601 has
    /// it in UTC, such as "2027-01-31T12:00:00Z". Nothing when it may be used for ever.
    std::optional<QString> expires;
    /// Member "channel": the last folder of the only base addresses that the document is for; empty
    /// when it may be served anywhere.
    QString channel;

    static constexpr qint64 largestSerial = (qint64(1) << 53) - 1;
};

/// Reads the members; what is no JSON object has no serial.
[[nodiscard]] SignedTerms readSignedTerms(const QByteArray& document);

/// Why a launcher with this base address that has accepted the serial `highest` before may not use
/// the document at the time `now`, in a few words for a log; empty when it may. The serial that was
/// accepted last is fine.
[[nodiscard]] QString termsFault(const SignedTerms& terms, const QString& baseUrl, qint64 highest,
                                 const QDateTime& now);
