#pragma once

#include <QString>

class ContentSource;
struct OrlFile;

/// Whether the text is a SHA-256 as documents write it.
[[nodiscard]] bool isHashText(const QString& text);

/// Reads one packed file and says what is wrong with it, measured by its entry; empty when nothing
/// is.
[[nodiscard]] QString packedFileFault(ContentSource& source, const QString& address,
                                      const OrlFile& file);
