#include "ChartsModule.h"

#include "ContactSheet.h"
#include "DrawHistogram.h"

#include <QApplication>
#include <QLocale>
#include <QTemporaryDir>

#include <clocale>
#include <string>

namespace charts {

namespace {

/** Puts the locale of the process back, which an application object replaces by the environment's. */
class KeptLocale {
public:
    KeptLocale() : m_locale(std::setlocale(LC_ALL, nullptr)) {}
    ~KeptLocale() { std::setlocale(LC_ALL, m_locale.c_str()); }
    KeptLocale(const KeptLocale&) = delete;
    KeptLocale& operator=(const KeptLocale&) = delete;

private:
    std::string m_locale;
};

/**
 * A runtime folder of its own for an application object that starts. Without one it makes a folder in the user's name
 * that stays, and complains; it complains too about one that is not as it should be. Nothing is ever put there.
 */
class OwnRuntimeFolder {
public:
    OwnRuntimeFolder() : m_wasSet(qEnvironmentVariableIsSet(variable)), m_before(qgetenv(variable))
    {
        qputenv(variable, m_folder.path().toLocal8Bit());
    }
    ~OwnRuntimeFolder()
    {
        if (m_wasSet)
            qputenv(variable, m_before);
        else
            qunsetenv(variable);
    }
    OwnRuntimeFolder(const OwnRuntimeFolder&) = delete;
    OwnRuntimeFolder& operator=(const OwnRuntimeFolder&) = delete;

private:
    static constexpr const char* variable = "XDG_RUNTIME_DIR";
    bool m_wasSet;
    QByteArray m_before;
    QTemporaryDir m_folder;
};

/** Makes the application object that fonts and widgets need, once. */
void startApplication()
{
    // Stronger than the environment: a display that is named there but does not answer would end the process.
    static char program[] = "orn";
    static char option[] = "-platform";
    static char platform[] = "offscreen";
    static char* arguments[] = {program, option, platform, nullptr};
    static int count = 3;
    // Kept to the end of the process: nothing is gained by an end of its own, and the platform leaks its screen then.
    static QApplication* application = nullptr;
    if (application)
        return;
    const KeptLocale locale;
    const OwnRuntimeFolder folder;
    application = new QApplication(count, arguments);
    QLocale::setDefault(QLocale::c());
}

/** Draws. */
class Charts : public IxCharts {
public:
    QByteArray drawHistogram(const SxHistogramChart& chart, ExChartFormat format) override
    {
        return charts::drawHistogram(chart, format);
    }
    std::unique_ptr<IxContactSheet> newContactSheet() override { return std::make_unique<ContactSheet>(); }
};

}  // namespace

std::unique_ptr<IxCharts> ChartsModule::start()
{
    startApplication();
    return std::make_unique<Charts>();
}

}  // namespace charts
