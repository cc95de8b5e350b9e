// make-demo-capture OUT [PATTERN]: writes the demonstration capture, as the format that OUT's suffix names.
#include "DemoSensor.h"

#include <ep/CxImageFormatManager.h>

#include <QCoreApplication>
#include <QTextStream>

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = application.arguments();
    QTextStream err(stderr);
    demo::Capture capture;
    const QString pattern = arguments.value(2, QStringLiteral("RGGB"));
    if (arguments.size() < 2 || arguments.size() > 3 || !demo::takeCapture(pattern, capture)) {
        err << "usage: make-demo-capture OUT [RGGB|BGGR|GBRG|GRBG|X-Trans]\n";
        return 2;
    }
    ep::SxFileError error;
    if (ep::CxImageFormatManager::saveImageToFile(arguments[1], capture.mosaic.image(), &capture.metadata, nullptr,
                                                  false, QString(), &error))
        return 0;
    err << "make-demo-capture: " << arguments[1] << ": " << error.reason << '\n';
    return 4;
}
