// Widget tests need a QApplication; they run without a display on the
// offscreen platform and with one fixed style, so that pictures compare.
#include <QApplication>

#include <gtest/gtest.h>

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  ::testing::InitGoogleTest(&argc, argv);
  QApplication::setStyle(QStringLiteral("Fusion"));
  QApplication app(argc, argv);
  return RUN_ALL_TESTS();
}
