#pragma once

#include "publish/InputFolder.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace publish {

struct PublishRequest;

/// Everything that speaks against the request as far as its own files tell; empty when nothing
/// does. Fills in the files, and what the user should know and does not stop the publication.
/// Nothing is written.
class PublishInput
{
public:
    [[nodiscard]] QStringList read(const PublishRequest& request);

    [[nodiscard]] const QList<InputFile>& files() const { return m_files; }
    [[nodiscard]] const QList<InputFile>& assets() const { return m_assets; }
    [[nodiscard]] const QStringList& warnings() const { return m_warnings; }

private:
    [[nodiscard]] QString assetsFolder(const PublishRequest& request);
    void readAssets(const PublishRequest& request);
    void checkNames(const PublishRequest& request);
    void checkLauncher(const PublishRequest& request);

    QList<InputFile> m_files;
    QList<InputFile> m_assets;
    QStringList m_faults;
    QStringList m_warnings;
};

} // namespace publish
