#pragma once

#include "publish/MetadataSigner.h"

#include <QString>

#include <optional>

namespace publish {

class CommandLine;

/// --sign-with, --key, --expires-in and --unsigned.
void addSigningOptions(CommandLine& line);

/// The exit code when those options do not go together, which has been told. `isForLater` when
/// nothing has to be signed now.
[[nodiscard]] std::optional<int> checkSigningOptions(const CommandLine& line,
                                                     bool isForLater = false);

/// What they ask for; asks for the passphrase if need be. Without --sign-with, the program that
/// VORNAK_SIGN_METADATA names signs. Nothing with a text when a key cannot be had.
[[nodiscard]] std::optional<Signing> readSigning(const CommandLine& line, QString* error);

/// The public keys that --key gives.
[[nodiscard]] std::optional<QList<minisign::PublicKey>> readKeys(const CommandLine& line,
                                                                 QString* error);

} // namespace publish
