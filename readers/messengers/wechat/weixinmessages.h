#pragma once
// How a WeChat message reads in the shared chat model: the model's message
// type, a readable text, and which media files to look for.
//
// WeChat keeps every kind but plain text as XML (or, for a few notices, JSON)
// in the message's text. What a person needs to see is said in words:
//   1 text                      the text                        type 0
//   3 picture                   the picture file                type 1
//   34 voice                    "Voice message (N s)" + .aud    type 3 (Silk-coded audio)
//   43, 62 video                the video (or its still)        type 2
//   42, 66 contact card         "Contact card: name (id)"       type 4
//   48 location                 "Location: place - address (x, y)"  type 5
//   49 app message, by its inner type: links and mini programs "title\nurl" (7),
//      files "name" + the file (8), transfers, red envelopes, quotes and
//      forwarded chats as text (0), live location (5)
//   47 sticker "[Sticker]"; 35 mail "Mail: subject"
//   37, 40 friend requests, 50 calls, 51-53 notices, 64, 9999, 10000, 10002
//      system lines (recalled messages, joins): their plain text        type 6
//   anything else: the text as stored, type 0.
// A picture or video whose files are all missing gets "[Picture]" or
// "[Video]" as its text, so that no message is left blank.
#include <QList>
#include <QString>

struct WxMsg;

struct WeixinMessageView {
  int type = 0;            // OxWhatsappMsg::MsgType number
  QString content;         // readable text
  QList<int> media;        // Weixin::Media kinds to try, best first
  QString missingMedia;    // the text when none of them is found
};

namespace WeixinMessages {
WeixinMessageView view(const WxMsg& msg);
// The text of a system line: the XML's plain text, or the text without tags.
QString systemText(const QString& content);
} // namespace WeixinMessages
