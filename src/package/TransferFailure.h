#pragma once

#include <QString>

#include <optional>

class QNetworkReply;

/// Why a finished transfer of which `received` bytes arrived has failed; nothing when it succeeded.
///
/// Qt 6.4 takes some connections that are reset in mid-body for a success, depending on the moment.
/// So the number of bytes is held against the answer's Content-Length (RFC 9110, section 8.6) too.
[[nodiscard]] std::optional<QString> transferFailure(const QNetworkReply& reply,
                                                     qsizetype received);
