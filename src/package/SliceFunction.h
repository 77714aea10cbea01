#pragma once

#include <QByteArrayView>

#include <functional>

/// Called between the slices of long work with the slice just done and its place in the whole, in
/// bytes. Returning false stops the work. The caller can let its event loop turn in it, so that
/// the function that does the work knows nothing of event loops. A slice at offset 0 means that the
/// work starts (again).
using SliceFunction = std::function<bool(QByteArrayView slice, qint64 offset)>;
