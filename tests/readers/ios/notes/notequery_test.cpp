// The legacy body conversion: HTML with object tags into text and the
// content identifiers of its attachments. Every "<div>" starts a line, so a
// body that opens with one opens with an empty line (the item's column texts
// are trimmed; the pieces keep it).
#include "readers/ios/notes/notequeries.h"

#include "model/oxdata.h"

#include <QGuiApplication>
#include <gtest/gtest.h>

namespace {

TEST(CNoteQuery, HtmlBodiesBecomeTextWithPlaceholders) {
  const QChar obj(0xFFFC);
  const struct {
    const char* name;
    QString html;
    QString text;
    QStringList ids;
  } cases[] = {
      {"plain divs", QStringLiteral("<div>one</div><div>two</div>"), QStringLiteral("\none\ntwo"), {}},
      {"line feeds and br", QStringLiteral("a\nb<br>c"), QStringLiteral("a\nb\nc"), {}},
      {"entities", QStringLiteral("<div>fish &amp; chips&nbsp;</div>"), QStringLiteral("\nfish & chips "), {}},
      {"two objects with text around",
       QStringLiteral("x<object type=\"a\" data=\"cid:AB@1\"></object>y<object type=\"a\" data=\"cid:cd@2\"></object>z"),
       QStringLiteral("x%1y%1z").arg(obj),
       {"ab@1", "cd@2"}},
      {"the same tag twice is one identifier",
       QStringLiteral("<object t=\"1\" data=\"cid:same\"></object>-<object t=\"1\" data=\"cid:same\"></object>"),
       QStringLiteral("%1-%1").arg(obj),
       {"same"}},
      {"unclosed tags", QStringLiteral("<div><b>bold <i>italic"), QStringLiteral("\nbold italic"), {}},
  };
  OxData list(7);
  CNoteQuery query(&list, QStringLiteral("iPhone"));
  for (const auto& c : cases) {
    QStringList ids;
    EXPECT_EQ(query.htmlToText(c.html, &ids), c.text) << c.name;
    EXPECT_EQ(ids, c.ids) << c.name;
  }
}

} // namespace

int main(int argc, char** argv) {
  // QTextDocument needs a GUI application object; no display is needed (test
  // discovery runs this program without the tests' environment). The object
  // lives until the process ends: Qt 5.15's offscreen platform does not free
  // its screen when the application is destroyed, which the leak checker of
  // the sanitizer build would report.
  qputenv("QT_QPA_PLATFORM", "offscreen");
  static QGuiApplication* app = new QGuiApplication(argc, argv);
  (void)app;
  ::testing::InitGoogleTest(&argc, argv);
  return RUN_ALL_TESTS();
}
