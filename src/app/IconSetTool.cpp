// Build step for the macOS bundle: writes the drawn application icon as the PNG files of
// an icon set folder, which iconutil then compiles into AppIcon.icns.
#include "artwork/AppIdentity.h"

#include <QCoreApplication>
#include <QTextStream>

namespace tk {

int main(int argc, char** argv)
{
    // Drawing into images needs no display; the application object only sets up Qt.
    QCoreApplication application(argc, argv);
    QTextStream errors(stderr);
    const QStringList arguments = QCoreApplication::arguments();
    if (arguments.size() != 2) {
        errors << "usage: tuckaway-iconset <folder.iconset>\n";
        return 2;
    }
    const Result<QStringList> written = AppIdentity::writeIconSet(arguments.at(1));
    if (!written) {
        errors << written.error().description << '\n';
        return 1;
    }
    return 0;
}

} // namespace tk
