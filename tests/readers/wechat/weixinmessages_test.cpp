#include "readers/messengers/wechat/weixinmessages.h"

#include "platform/wechat/weixin.h"

#include <gtest/gtest.h>

namespace {
TEST(WeixinMessages, KindsReadAsWords) {
  const struct {
    const char* name;
    int wxType;
    const char* content;
    int type;
    const char* text;
    bool media;
  } rows[] = {
      {"text", 1, "hello <b>", 0, "hello <b>", false},
      {"picture", 3, "<msg><img/></msg>", 1, "", true},
      {"voice rounds to seconds", 34, "<msg><voicemsg voicelength=\"2600\"/></msg>", 3, "Voice message (3 s)", true},
      {"video", 43, "<msg><videomsg/></msg>", 2, "", true},
      {"card", 42, "<msg username=\"wxid_z\" nickname=\"Zoe\"/>", 4, "Contact card: Zoe (wxid_z)", false},
      {"location", 48, "<msg><location x=\"1.5\" y=\"2.5\" label=\"Main St\" poiname=\"Cafe\"/></msg>", 5,
       "Location: Cafe - Main St (1.5, 2.5)", false},
      {"link", 49, "<msg><appmsg><title>News</title><type>5</type><url>https://n.invalid</url></appmsg></msg>", 7,
       "News\nhttps://n.invalid", false},
      {"file", 49, "<msg><appmsg><title>a.xlsx</title><type>6</type></appmsg></msg>", 8, "a.xlsx", true},
      {"transfer", 49,
       "<msg><appmsg><type>2000</type><wcpayinfo><feedesc>$5</feedesc><pay_memo>tea</pay_memo></wcpayinfo>"
       "</appmsg></msg>",
       0, "Transfer: $5 tea", false},
      {"quote", 49,
       "<msg><appmsg><title>Sure</title><type>57</type><refermsg><displayname>Ann</displayname>"
       "<content>Lunch?</content></refermsg></appmsg></msg>",
       0, "Sure\n> Ann: Lunch?", false},
      {"app message without title", 49, "<msg><appmsg><type>33</type></appmsg></msg>", 7, "[App message]", false},
      {"damaged app XML keeps the title", 49, "<msg><appmsg><title>Half</title><type>5</type><url>", 7, "Half", false},
      {"system line loses its tags", 10000, "You joined <a href=\"x\">the group</a>", 6, "You joined the group", false},
      {"recall notice", 10002,
       "<sysmsg type=\"revokemsg\"><revokemsg><replacemsg>Ann recalled a message</replacemsg></revokemsg></sysmsg>",
       6, "Ann recalled a message", false},
      {"JSON notice", 9999, "{\"msgContent\":\"Security notice\"}", 6, "Security notice", false},
      {"unknown kind keeps its text", 12345, "raw", 0, "raw", false},
  };
  for (const auto& r : rows) {
    WxMsg m;
    m.type = r.wxType;
    m.content = QString::fromUtf8(r.content);
    const WeixinMessageView v = WeixinMessages::view(m);
    EXPECT_EQ(v.type, r.type) << r.name;
    EXPECT_EQ(v.content, QString::fromUtf8(r.text)) << r.name;
    EXPECT_EQ(!v.media.isEmpty(), r.media) << r.name;
  }
}
} // namespace
