#pragma once

#include <functional>

/// Called between slices of long work; false stops it.
using TurnFunction = std::function<bool()>;
