#pragma once

/// Endings of the names that a file bears while it is being replaced; the second is followed by a
/// number. Character sequences of both widths, since the starter does without Qt.
#define VORNAK_FRESH_SUFFIX ".vornak-new"
#define VORNAK_ASIDE_SUFFIX ".vornak-old"

/// The one name in a package's folder that a file bears while it is being made, where it needs any.
#define VORNAK_UNFINISHED_NAME "unfinished" VORNAK_FRESH_SUFFIX
