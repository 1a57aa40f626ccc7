// The dialog tests need a QApplication alive for the whole run.
#include <gtest/gtest.h>

#include <QApplication>

int main(int argc, char** argv) {
  // Headless even when run by hand or by test discovery during a plain build.
  if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM")) qputenv("QT_QPA_PLATFORM", "offscreen");
  QApplication app(argc, argv);
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
