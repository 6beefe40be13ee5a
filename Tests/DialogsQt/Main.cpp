#include "WindowLanguage.hpp"

#include <QApplication>
#include <gtest/gtest.h>

int main(int argumentCount, char** arguments)
{
    // A display is not needed, and one that is there is left alone.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    qputenv("LC_ALL", "C");
    testing::InitGoogleTest(&argumentCount, arguments);
    const QApplication application(argumentCount, arguments);
    InstallLanguage();
    return RUN_ALL_TESTS();
}
