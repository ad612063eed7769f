// Widget tests need a QApplication; they run without a display on the
// offscreen platform and with one fixed style, so that pictures compare.
#include <QApplication>

#include <gtest/gtest.h>

namespace {
// The application object lives until the process ends: Qt 5.15's offscreen
// platform does not free its screen and cursor when the application is
// destroyed, and the leak checker of the sanitizer build would report them.
QApplication* application = nullptr;
} // namespace

int main(int argc, char** argv) {
  qputenv("QT_QPA_PLATFORM", "offscreen");
  ::testing::InitGoogleTest(&argc, argv);
  QApplication::setStyle(QStringLiteral("Fusion"));
  application = new QApplication(argc, argv);
  return RUN_ALL_TESTS();
}
