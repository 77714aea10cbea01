#pragma once

namespace publish {

class VerifyRun;
struct VerifyOptions;

/// Checks the hints document and its pictures.
void verifyHints(VerifyRun& run, const VerifyOptions& options);

} // namespace publish
