// Runs the native tests inside a QApplication: offscreen unless the test runs under a
// display (the X11 tests run under xvfb-run).
#include <gtest/gtest.h>

#include <QApplication>
#include <cstdlib>

int main(int argc, char** argv) {
  if (!std::getenv("DISPLAY")) setenv("QT_QPA_PLATFORM", "offscreen", 1);
  QApplication app(argc, argv);
  QCoreApplication::setApplicationName("ThunderRT6FormDC");
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
