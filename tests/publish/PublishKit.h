#pragma once

#include "package/OrlPackageDoc.h"
#include "publish/Progress.h"
#include "publish/Publication.h"
#include "publish/PublishRequest.h"

#include <QByteArray>
#include <QMap>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

namespace publish {

/// Progress that only keeps what it was told.
class RecordedProgress : public Progress
{
public:
    void begin(const QString& what, qint64 bytes, qint64 files) override;
    void advance(qint64 bytes, qint64 files) override;
    void end() override {}
    void warn(const QString& text) override { warnings.append(text); }

    QStringList stretches;
    QStringList warnings;
};

/// Paths and contents of the files of a folder.
using Files = QMap<QString, QByteArray>;

/// A folder with an input and a content below it, and the publishing of one into the other.
class PublishFixture
{
public:
    PublishFixture();

    /// Makes the input hold exactly these files.
    void setInput(const Files& files) const;
    /// A request for the input with "client" as executable, packed fast.
    [[nodiscard]] PublishRequest request(const QString& version) const;
    /// Publishes these files; the faults.
    QStringList publishFiles(const QString& version, const Files& files);
    QStringList run(const PublishRequest& request);

    [[nodiscard]] QString input() const { return m_folder.filePath(QStringLiteral("input")); }
    [[nodiscard]] QString content() const { return m_folder.filePath(QStringLiteral("content")); }
    [[nodiscard]] QString path(const QString& name) const { return m_folder.filePath(name); }
    /// What the content serves: everything but the publisher's own files.
    [[nodiscard]] Files served() const;

    RecordedProgress progress;
    PublishReport report;

private:
    QTemporaryDir m_folder;
};

/// Where the builds of the versions "1.0" and "1.1" lie.
inline const QString folder10 = QStringLiteral("/launcher/packages/Quelra/1.0/windows-x86_64/");
inline const QString folder11 = QStringLiteral("/launcher/packages/Quelra/1.1/windows-x86_64/");

/// Writes the files below the folder, beside what is there.
void writeFiles(const QString& folder, const Files& files);

/// A small client: a program, data (two files of the same content), an empty file, and a name
/// beyond ASCII.
[[nodiscard]] Files smallClient();

/// What passes for the program of a launcher of this version, as its own build marks it.
[[nodiscard]] QByteArray launcherProgram(const QString& version);

/// The contents that a document in `folder` promises, from the served bytes alone; "broken" where a
/// size or hash is wrong.
[[nodiscard]] Files unpackedFiles(const Files& served, const QList<OrlFile>& files,
                                  const QString& folder);

} // namespace publish
