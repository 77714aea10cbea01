#include "democlient/ClientActions.h"
#include "democlient/DemoWindow.h"
#include "democlient/LaunchRecord.h"

#include <QApplication>

#include <memory>

namespace {

// Tests drive the client through these two, which the launcher's environment hands on.
const char* const scriptVariable = "QUELRA_DEMO_ACTIONS";
const char* const recordVariable = "QUELRA_DEMO_RECORD";

bool record()
{
    const QString path = qEnvironmentVariable(recordVariable);
    return path.isEmpty() || appendLaunchRecord(path);
}

} // namespace

int main(int argc, char* argv[])
{
    const QString script = qEnvironmentVariable(scriptVariable);
    if (!script.isEmpty()) {
        const QCoreApplication application(argc, argv);
        return record() ? clientactions::runScript(script.split(u',')) : 2;
    }
    const QApplication application(argc, argv);
    if (!record())
        return 2;
    DemoWindow window;
    window.show();
    return QApplication::exec();
}
