// Widget tests need a QApplication; they run without a display on the
// offscreen platform and with one fixed style, so that pictures compare.
#include <QApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  ::testing::InitGoogleTest(&argc, argv);
  QApplication::setStyle(QStringLiteral("Fusion"));
  // Never destroyed: Qt 5.15's offscreen platform does not free its screen and
  // cursor with the application, and the leak checker would report them.
  static QApplication* application = new QApplication(argc, argv);
  (void)application;
  return RUN_ALL_TESTS();
}
