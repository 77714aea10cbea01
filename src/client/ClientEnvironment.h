#pragma once

#include "client/RequestFiles.h"

#include <QProcessEnvironment>
#include <QString>

/// What the launcher tells the client through its environment.
struct ClientLaunch
{
    /// Version of the installed client.
    QString revision;
    /// The launcher's own program file.
    QString launcherProgram;
    RequestFiles requests;
    /// Content server, without a trailing "/".
    QString assetBase;
    /// Handed on unchanged; left out when empty.
    QString bootstrapCode;
    /// Address whose scheme, host and port the client logs in at; left out when it is not valid.
    QString portalUrl;
};

/// `environment` with the client's variables inserted, each replacing an inherited value.
[[nodiscard]] QProcessEnvironment clientEnvironment(QProcessEnvironment environment,
                                                    const ClientLaunch& launch);

/// The environment of a locally built client: as above, without request files, content server and
/// login.
[[nodiscard]] QProcessEnvironment devClientEnvironment(QProcessEnvironment environment,
                                                       const QString& revision,
                                                       const QString& launcherProgram);
