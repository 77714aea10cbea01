// Checks an installed package as every start does: by a client that knows nothing, then by the
// same one again. Arguments: the package's folder, how often in all (default 2).

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

int run(const QString& folder, int times)
{
    QFile file(folder + QLatin1StringView("/package.json"));
    const OrlPackageDoc package =
        parsePackageDoc(file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray(), nullptr);
    if (package.files.isEmpty()) {
        std::fprintf(stderr, "bench-check: no package in %s\n", qUtf8Printable(folder));
        return 1;
    }
    PackageClient client(nullptr);
    for (int i = 0; i < times; ++i) {
        if (!check(client, package, folder, i == 0 ? "check" : "check again"))
            return 1;
    }
    return 0;
}

} // namespace

int main(int argc, char* argv[])
{
    const QCoreApplication application(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "usage: bench-check PACKAGE-FOLDER [TIMES]\n");
        return 2;
    }
    const int times = argc > 2 ? QByteArray(argv[2]).toInt() : 2;
    QTimer::singleShot(0, qApp, [times] {
        QCoreApplication::exit(run(QCoreApplication::arguments().at(1), times));
    });
    return QCoreApplication::exec();
}
