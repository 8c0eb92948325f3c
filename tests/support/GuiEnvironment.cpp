#include <QApplication>

#include <gtest/gtest.h>
#include <memory>

namespace {

// Fonts, text layout and widgets need an application object; no test needs a real display.
class GuiEnvironment : public testing::Environment
{
public:
    void SetUp() override
    {
        if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
            qputenv("QT_QPA_PLATFORM", "offscreen");
        _application = std::make_unique<QApplication>(_argc, _argv);
    }
    void TearDown() override { _application.reset(); }

private:
    int _argc = 1;
    char _name[13] = "tarnvik_test";
    char *_argv[2] = {_name, nullptr};
    std::unique_ptr<QApplication> _application;
};

[[maybe_unused]] testing::Environment *const environment =
    testing::AddGlobalTestEnvironment(new GuiEnvironment);

} // namespace
