#pragma once
// The chat item every messenger reader builds from a finished chat.
//
// WhatsApp, Kik, Line and the other messengers deliver one OxWhatsappItem per
// conversation, and they fill it the same way once the chat's messages are in
// place:
//   value 0  the chat's name            value 3  the last date as text
//   value 1  the title (members...)     value 4  the last content
//   value 2  numbers (where known)      value 5  the avatar's local path
//   sort value 6  the last date (a QDateTime in a QVariant, null when the chat
//                 has no message; OxData orders chats by it, newest first)
// then the chat becomes the item's detail content and the size is computed
// from the messages (setSize(0)), so the chat must be complete by then.
//
// "Last" means the END of the chat's message list, whatever order the reader
// left it in: a reader that sorted its messages newest first gets the oldest
// message's date and content here, and that is what it must get. The last
// content skips messages with empty content (pictures without caption,
// system lines) and walks back towards the front; the last date is the date of
// the very last message, whether it has content or not.
//
// A reader fills a ChatItemColumns with the texts it knows (an empty text leaves
// the column as a new item has it: empty) and calls createChatItem, then
// appends (or prepends) the item to its list.
#include <QDateTime>
#include <QString>

class OxWhatsappChat;
class OxWhatsappItem;

struct ChatItemColumns {
  QString name;                 // value 0
  QString title;                // value 1
  QString numbers;              // value 2 (WhatsApp: the members' phone numbers)
  QString avatar;               // value 5: local path of the picture, or empty
  bool showLastMessage = false; // setShowLastMes (Kik and Line set it; WhatsApp does not)
};

class CChatItemBuilder {
public:
  // The content of the last message whose content is not empty, searching
  // from the end of the list; empty when there is none.
  static QString lastContent(const OxWhatsappChat& chat);
  // The date of the last message of the list; null when the chat has none.
  static QDateTime lastDate(const OxWhatsappChat& chat);
  // The text of a last date in the chat list: local time,
  // "yyyy-MM-dd HH:mm:ss"; empty for a null date.
  static QString lastDateText(const QDateTime& date);

  // The text of a shared location: "lat, lon" with six decimals, after the
  // address in the form "address (lat, lon)" when there is one.
  static QString locationText(double latitude, double longitude, const QString& address);

  // A new chat item over the chat (which it owns from now on), with the
  // columns above, its size computed. Null only when the item cannot be
  // allocated; the chat is then deleted.
  static OxWhatsappItem* createChatItem(OxWhatsappChat* chat, const ChatItemColumns& columns);
};
