#pragma once

#include <QByteArrayView>

#include <functional>

/// Called between the slices of long work with the slice just done and its place in the whole, in
/// bytes. Returning false stops the work. What lets an event loop turn is handed in this way, so
/// that the functions that take it stay plain. A slice at offset 0 means that the work starts
/// (again).
using SliceFunction = std::function<bool(QByteArrayView slice, qint64 offset)>;
