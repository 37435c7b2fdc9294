#include "tests/Sync/Host/Qt/Application.h"

#include <QApplication>
#include <QByteArray>
#include <memory>

#include <gtest/gtest.h>

#include "Sync/Host/Qt/GermanTexts.h"

namespace kt::test {

namespace {

/// Widgets need the one application object, but listing the tests must not. Without a screen
/// unless the environment names one.
class ApplicationEnvironment : public ::testing::Environment {
public:
    void SetUp() override
    {
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
            qputenv("QT_QPA_PLATFORM", "offscreen");
        _application = std::make_unique<QApplication>(_count, _arguments);
        QApplication::installTranslator(&_german);
    }
    void TearDown() override { _application.reset(); }

private:
    GermanTexts _german;
    char _name[13] = "test_host_qt";
    int _count = 1;
    char* _arguments[2] = {_name, nullptr};
    std::unique_ptr<QApplication> _application;
};

const ::testing::Environment* const kEnvironment =
    ::testing::AddGlobalTestEnvironment(std::make_unique<ApplicationEnvironment>().release());

}  // namespace

void settle()
{
    constexpr int kRounds = 3;
    for (int round = 0; round < kRounds; ++round)
        QCoreApplication::processEvents();
}

}  // namespace kt::test
