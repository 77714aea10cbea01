#include "support/TestTls.h"

#include "support/TestFiles.h"

#include <QProcess>
#include <QSslCertificate>
#include <QSslKey>
#include <QSslSocket>
#include <QTemporaryDir>

std::optional<QSslConfiguration> makeTestTls(QString& problem)
{
    if (!QSslSocket::supportsSsl()) {
        problem = QStringLiteral("Qt has no TLS here: install its OpenSSL backend");
        return std::nullopt;
    }
    const QTemporaryDir folder;
    const QString keyFile = folder.filePath(QStringLiteral("key.pem"));
    const QString certificateFile = folder.filePath(QStringLiteral("certificate.pem"));
    QProcess openssl;
    openssl.start(QStringLiteral("openssl"),
                  {QStringLiteral("req"), QStringLiteral("-x509"), QStringLiteral("-newkey"),
                   QStringLiteral("rsa:2048"), QStringLiteral("-nodes"), QStringLiteral("-days"),
                   QStringLiteral("2"), QStringLiteral("-subj"), QStringLiteral("/CN=127.0.0.1"),
                   QStringLiteral("-addext"), QStringLiteral("subjectAltName=IP:127.0.0.1"),
                   QStringLiteral("-keyout"), keyFile, QStringLiteral("-out"), certificateFile});
    if (!openssl.waitForFinished() || openssl.exitCode() != 0) {
        problem = QStringLiteral("No certificate could be made: install the package openssl");
        return std::nullopt;
    }
    const QSslCertificate certificate(testfiles::read(certificateFile));
    QSslConfiguration server = QSslConfiguration::defaultConfiguration();
    server.setLocalCertificate(certificate);
    server.setPrivateKey(QSslKey(testfiles::read(keyFile), QSsl::Rsa));
    QSslConfiguration trusting = QSslConfiguration::defaultConfiguration();
    trusting.addCaCertificate(certificate);
    QSslConfiguration::setDefaultConfiguration(trusting);
    return server;
}
