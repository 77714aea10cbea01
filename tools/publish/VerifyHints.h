#pragma once

class VerifyRun;

/// Checks the hints document and its pictures. With `quick`, pictures need only be there.
void verifyHints(VerifyRun& run, bool quick);
