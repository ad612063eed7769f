#include "readers/messengers/wechat/weixinmessages.h"

#include "model/oxwhatsappitem.h"
#include "platform/wechat/weixin.h"
#include "readers/messengers/common/xmlfields.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QRegularExpression>

namespace {
QString joined(const QString& a, const QString& separator, const QString& b) {
  if (a.isEmpty())
    return b;
  return b.isEmpty() ? a : a + separator + b;
}

WeixinMessageView appMessage(const XmlFields& x) {
  WeixinMessageView v;
  const QString title = x.value(QStringLiteral("msg/appmsg/title"));
  const QString url = x.value(QStringLiteral("msg/appmsg/url"));
  switch (x.value(QStringLiteral("msg/appmsg/type")).toInt()) {
  case 6: // a file
    v.type = OxWhatsappMsg::MsgDocument;
    v.content = title;
    v.media = {Weixin::Attachment};
    break;
  case 2000: // a money transfer
    v.content = joined(QStringLiteral("Transfer: ") + x.value(QStringLiteral("msg/appmsg/wcpayinfo/feedesc")), QStringLiteral(" "),
                       x.value(QStringLiteral("msg/appmsg/wcpayinfo/pay_memo")));
    break;
  case 2001: // a red envelope
    v.content = QStringLiteral("Red envelope: ") + title;
    break;
  case 57: { // a reply quoting an earlier message
    const QString quoted = joined(x.value(QStringLiteral("msg/appmsg/refermsg/displayname")), QStringLiteral(": "),
                                  x.value(QStringLiteral("msg/appmsg/refermsg/content")));
    v.content = quoted.isEmpty() ? title : title + QStringLiteral("\n> ") + quoted;
    break;
  }
  case 19: // forwarded chat history
    v.content = QStringLiteral("Chat history: ") + title;
    break;
  case 17:
    v.type = OxWhatsappMsg::MsgLocation;
    v.content = QStringLiteral("Live location");
    break;
  case 62: // a "pat"
    v.type = OxWhatsappMsg::MsgGroupEvent;
    v.content = title;
    break;
  default: // links, music, mini programs, channel cards...
    v.type = OxWhatsappMsg::MsgLink;
    v.content = joined(title.isEmpty() ? QStringLiteral("[App message]") : title, QStringLiteral("\n"), url);
    break;
  }
  return v;
}
} // namespace

namespace WeixinMessages {
QString systemText(const QString& content) {
  const QString trimmed = content.trimmed();
  if (trimmed.startsWith(QLatin1Char('{'))) {
    const QJsonObject o = QJsonDocument::fromJson(trimmed.toUtf8()).object();
    if (o.contains(QLatin1String("msgContent")))
      return o.value(QLatin1String("msgContent")).toString();
  }
  if (trimmed.startsWith(QLatin1String("<sysmsg"))) {
    const XmlFields x(trimmed);
    const QString kind = x.value(QStringLiteral("sysmsg@type"));
    for (const char* leaf : {"replacemsg", "plain", "text", "content"}) {
      const QString t = x.value(QStringLiteral("sysmsg/%1/%2").arg(kind, QLatin1String(leaf)));
      if (!t.isEmpty())
        return t;
    }
  }
  static const QRegularExpression tags(QStringLiteral("<[^>]*>"));
  return QString(trimmed).remove(tags).trimmed();
}

WeixinMessageView view(const WxMsg& msg) {
  WeixinMessageView v;
  switch (msg.type) {
  case 1:
    v.content = msg.content;
    break;
  case 3:
    v.type = OxWhatsappMsg::MsgImage;
    v.media = {Weixin::Picture, Weixin::PictureHd, Weixin::PictureThumb};
    v.missingMedia = QStringLiteral("[Picture]");
    break;
  case 34: {
    v.type = OxWhatsappMsg::MsgAudio;
    v.media = {Weixin::Voice};
    const int ms = XmlFields(msg.content).value(QStringLiteral("msg/voicemsg@voicelength")).toInt();
    v.content = ms > 0 ? QStringLiteral("Voice message (%1 s)").arg((ms + 500) / 1000) : QStringLiteral("Voice message");
    break;
  }
  case 43:
  case 62:
    v.type = OxWhatsappMsg::MsgVideo;
    v.media = {Weixin::Video, Weixin::VideoThumb};
    v.missingMedia = QStringLiteral("[Video]");
    break;
  case 42:
  case 66: {
    const XmlFields x(msg.content);
    v.type = OxWhatsappMsg::MsgContact;
    const QString id = x.value(QStringLiteral("msg@username"));
    v.content = QStringLiteral("Contact card: ") + x.value(QStringLiteral("msg@nickname")) +
                (id.isEmpty() ? QString() : QStringLiteral(" (%1)").arg(id));
    break;
  }
  case 48: {
    const XmlFields x(msg.content);
    v.type = OxWhatsappMsg::MsgLocation;
    const QString place = joined(x.value(QStringLiteral("msg/location@poiname")), QStringLiteral(" - "),
                                 x.value(QStringLiteral("msg/location@label")));
    v.content = QStringLiteral("Location: %1 (%2, %3)")
                    .arg(place, x.value(QStringLiteral("msg/location@x")), x.value(QStringLiteral("msg/location@y")));
    break;
  }
  case 49:
    return appMessage(XmlFields(msg.content));
  case 47:
    v.content = QStringLiteral("[Sticker]");
    break;
  case 35:
    v.content = QStringLiteral("Mail: ") + XmlFields(msg.content).value(QStringLiteral("msg/pushmail/content/subject"));
    break;
  case 37:
  case 40: {
    const XmlFields x(msg.content);
    v.type = OxWhatsappMsg::MsgGroupEvent;
    v.content = joined(QStringLiteral("Friend request from ") + x.value(QStringLiteral("msg@fromnickname")),
                       QStringLiteral(": "), x.value(QStringLiteral("msg@content")));
    break;
  }
  case 50:
    v.type = OxWhatsappMsg::MsgGroupEvent;
    v.content = QStringLiteral("Voice or video call");
    break;
  case 51:
  case 52:
  case 53:
  case 64:
  case 9999:
  case 10000:
  case 10002:
    v.type = OxWhatsappMsg::MsgGroupEvent;
    v.content = systemText(msg.content);
    break;
  default:
    v.content = msg.content;
    break;
  }
  return v;
}
} // namespace WeixinMessages
