#pragma once

#include <QSslConfiguration>

#include <optional>

/// The configuration of a server on 127.0.0.1 with a certificate made for this run, which every
/// connection of this program made afterwards trusts. Nothing when this machine cannot make one:
/// `problem` then says what is missing.
[[nodiscard]] std::optional<QSslConfiguration> makeTestTls(QString& problem);
