#pragma once

/// Endings of the names that a file of the program bears while it is being replaced. Character
/// sequences of both widths, since the starter does without Qt.
#define VORNAK_FRESH_SUFFIX ".vornak-new"
#define VORNAK_ASIDE_SUFFIX ".vornak-old"
