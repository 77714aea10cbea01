// Installs a package from a content server without a window and prints the time, the longest pause
// of the event loop, and the highest memory.
// Arguments: address of the package document, folder to install into, and for a server with a
// certificate of its own that certificate's file.

#include "BenchSupport.h"
#include "LoopWatch.h"
#include "package/PackageClient.h"

#include <QCoreApplication>
#include <QFile>
#include <QSslCertificate>
#include <QSslConfiguration>
#include <QTimer>

#include <cstdio>

namespace {

double secondsSince(std::int64_t start)
{
    return static_cast<double>(monotonicNs() - start) / 1e9;
}

bool install(const QUrl& address, const OrlPackageDoc& package, const QString& folder)
{
    PackageClient client(nullptr);
    LoopWatch watch;
    watch.start();
    const std::int64_t start = monotonicNs();
    QString error;
    if (!client.installPackage(address, package, folder, &error)) {
        std::fprintf(stderr, "%s\n", qUtf8Printable(error));
        return false;
    }
    printFigure("installation", secondsSince(start), "s");
    printFigure("longest pause of the event loop", watch.longestPauseMs(), "ms");
    printFigure("longest flush to disk, not counted above", double(flushTimes().longestNs) / 1e6,
                "ms");
    printFigure("all flushes", double(flushTimes().totalNs) / 1e9, "s");
    printFigure("highest memory", peakMemoryMb(), "MB");
    return true;
}

int run(const QStringList& arguments)
{
    const QUrl address(arguments.value(1));
    PackageClient client(nullptr);
    QString error;
    const OrlPackageDoc package = client.fetchPackageDoc(address, &error);
    if (package.files.isEmpty()) {
        std::fprintf(stderr, "no package at that address: %s\n", qUtf8Printable(error));
        return 1;
    }
    return install(address, package, arguments.value(2)) ? 0 : 1;
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    if (argc != 3 && argc != 4) {
        std::fprintf(stderr, "usage: bench-install PACKAGE-ADDRESS FOLDER [CERTIFICATE]\n");
        return 2;
    }
    if (argc == 4) {
        QSslConfiguration tls = QSslConfiguration::defaultConfiguration();
        tls.setCaCertificates(QSslCertificate::fromPath(QFile::decodeName(argv[3])));
        QSslConfiguration::setDefaultConfiguration(tls);
    }
    QTimer::singleShot(0, qApp, [] { QCoreApplication::exit(run(QCoreApplication::arguments())); });
    return QCoreApplication::exec();
}
