// Cold start to the first glyph: the process starts, the platform and the application
// controller are built and launched, and the run ends as soon as the status item shows a
// glyph. scripts/bench.sh times the whole process from the outside.
#include "app/AppDelegate.h"
#include "app/CommandLine.h"
#include "app/StatusItem.h"
#include "app/Platform.h"

#include <QApplication>
#include <QBuffer>
#include <QImage>
#include <QTimer>
#include <cstdio>
#include <cstdlib>

using namespace tk;

int main(int argc, char** argv)
{
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    QApplication::setQuitOnLastWindowClosed(false);
    QBuffer errors;
    errors.open(QIODevice::ReadWrite);
    PlatformOrError created = createPlatform({QString()});
    if (!created.platform)
        return 1;
    AppDelegate delegate(*created.platform, errors);
    delegate.applicationDidFinishLaunching(CommandLine::parse({QStringLiteral("tuckaway")}));
    QTimer poll;
    QObject::connect(&poll, &QTimer::timeout, [&delegate] {
        if (delegate.statusItem() && !delegate.statusItem()->image().isNull()) {
            std::fputs("first glyph\n", stdout);
            std::fflush(stdout);
            std::_Exit(0); // the start is measured, not the teardown
        }
    });
    poll.start(0);
    return application.exec();
}
