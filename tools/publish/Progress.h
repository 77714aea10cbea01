#pragma once

#include <QString>

namespace publish {

/// Where long work tells how far it is. Calls of advance() may come from several threads.
class Progress
{
public:
    Progress() = default;
    virtual ~Progress() = default;
    Q_DISABLE_COPY_MOVE(Progress)

    /// A new stretch of work begins.
    virtual void begin(const QString& what, qint64 bytes, qint64 files) = 0;
    /// So much more is done.
    virtual void advance(qint64 bytes, qint64 files) = 0;
    /// The stretch is over.
    virtual void end() = 0;
    /// Something that the user should know and that stops nothing.
    virtual void warn(const QString& text) = 0;
};

} // namespace publish
