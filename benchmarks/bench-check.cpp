// Checks an installed package as every start does, twice: by a client that knows nothing, and by
// the same one again. Argument: the package's folder.

#include "BenchSupport.h"
#include "LoopWatch.h"
#include "package/PackageClient.h"

#include <QCoreApplication>
#include <QFile>
#include <QTimer>

#include <cstdio>

namespace {

bool check(PackageClient& client, const OrlPackageDoc& package, const QString& folder,
           const char* name)
{
    LoopWatch watch;
    watch.start();
    const std::int64_t start = monotonicNs();
    const bool complete = !client.hasMissingFiles(package, folder);
    const auto took = static_cast<double>(monotonicNs() - start);
    printFigure(name, took / 1e6, "ms");
    printFigure("  for each file", took / 1e3 / static_cast<double>(package.files.size()), "us");
    printFigure("  longest pause of the event loop", watch.longestPauseMs(), "ms");
    return complete;
}

int run(const QString& folder)
{
    QFile file(folder + QLatin1StringView("/package.json"));
    const OrlPackageDoc package =
        parsePackageDoc(file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray(), nullptr);
    if (package.files.isEmpty()) {
        std::fprintf(stderr, "bench-check: no package in %s\n", qUtf8Printable(folder));
        return 1;
    }
    PackageClient client(nullptr);
    return check(client, package, folder, "check") && check(client, package, folder, "check again")
               ? 0
               : 1;
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "usage: bench-check PACKAGE-FOLDER\n");
        return 2;
    }
    QTimer::singleShot(0, qApp,
                       [] { QCoreApplication::exit(run(QCoreApplication::arguments().at(1))); });
    return QCoreApplication::exec();
}
