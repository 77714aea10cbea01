#pragma once

#include <QString>

/// Ends an operation that reports its failure by a text: sets `error`, where one is asked for, to
/// `text`. Always false.
inline bool fail(QString* error, const QString& text)
{
    if (error)
        *error = text;
    return false;
}
