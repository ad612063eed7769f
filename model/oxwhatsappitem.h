#pragma once
// The chat model shared by every messenger reader.
//
// One OxWhatsappItem per conversation sits in the messenger's OxData list. The
// item owns one OxWhatsappChat (its detail content), which owns the
// conversation's OxWhatsappMsg records.
//
// Traps worth knowing:
//  - An item has 8 value columns but shows two (dataColumn() is 2): 0 "Content"
//    and 1 "Date". The readers fill the others (column 6 holds the sort key the
//    list orders chats by, column 7 an account number the list can filter on).
//  - setSize(0) on an item sums its chat's message sizes; the chat must be set
//    first (there is no null test). Attachments count with their size on disk
//    at the moment of the call.
//  - setDetailContent does not delete a chat it replaces; copies of an item or a
//    chat are shallow (they share the chat or the message pointers), and only
//    one of them may be destroyed.
//  - OxWhatsappMsg::isRefreshThumb() is read-once: it reports that the media path
//    was replaced after a first assignment, and clears itself.
#include "model/oxabstractitem.h"

#include <QDateTime>
#include <QList>
#include <QString>

class SHERD_EXPORT OxWhatsappMsg {
public:
  // Message kinds, numbered as WhatsApp numbers its message rows; other
  // messengers translate their kinds into these numbers. 0 is also the fallback.
  enum MsgType {
    MsgText = 0,
    MsgImage = 1,
    MsgVideo = 2,
    MsgAudio = 3,
    MsgContact = 4,
    MsgLocation = 5,
    MsgGroupEvent = 6,
    MsgLink = 7,
    MsgDocument = 8,
    MsgReserved = 9,
    MsgSystem = 10,
  };

  OxWhatsappMsg();

  MsgType type() const { return m_type; }
  // 0 to 10 are stored; anything else becomes MsgText.
  void setType(int type);
  bool isFromMe() const { return m_fromMe; }
  void setFromMe(bool fromMe) { m_fromMe = fromMe; }
  bool isSentDone() const { return m_sentDone; }
  void setSentDone(bool done) { m_sentDone = done; }
  bool isBroadcast() const { return m_broadcast; }
  void setBroadcast(bool broadcast) { m_broadcast = broadcast; }
  const QDateTime& msgDate() const { return m_msgDate; }
  void setMsgDate(QDateTime date) { m_msgDate = std::move(date); }
  QString content() const { return m_content; }
  void setContent(const QString& content) { m_content = content; }
  QString media() const { return m_media; }
  // Replacing a non-empty media path raises the refresh-thumb signal.
  void setMedia(const QString& path);
  QString member() const { return m_member; }
  void setMember(const QString& member) { m_member = member; }
  bool isReadThumbFileData() const { return m_readThumbFileData; }
  void setReadThumbFileData(bool read) { m_readThumbFileData = read; }
  bool isChecked() const { return m_checked; }
  void setChecked(bool checked) { m_checked = checked; }
  bool isDrawLike() const { return m_drawLike; }
  int getLikeType() const { return m_likeType; }
  int getLikeCount() const { return m_likeCount; }
  // Marks the message as carrying a like; there is no way back.
  void setDrawLike(int likeType, int likeCount);
  // Read-once: returns the signal and clears it.
  bool isRefreshThumb();
  // UTF-8 bytes of content and member, plus the media file's size on disk.
  qint64 msgSize() const;
  // Recovered from the database's deleted records: the app had deleted it.
  // False in a new message.
  bool isDeleted() const { return m_deleted; }
  void setDeleted(bool deleted) { m_deleted = deleted; }

private:
  MsgType m_type = MsgText;
  bool m_fromMe = true;
  bool m_sentDone = true;
  bool m_broadcast = false;
  QDateTime m_msgDate;
  QString m_content;
  QString m_media;
  QString m_member;
  bool m_readThumbFileData = false;
  bool m_drawLike = false;
  int m_likeType = 0;
  int m_likeCount = 0;
  bool m_checked = true;
  bool m_refreshThumb = false;
  bool m_deleted = false;
};

class SHERD_EXPORT OxWhatsappChat {
public:
  OxWhatsappChat();
  OxWhatsappChat(const OxWhatsappChat& other);
  OxWhatsappChat& operator=(const OxWhatsappChat& other);
  ~OxWhatsappChat();

  // Appends; the chat owns the message from now on.
  void addMessage(OxWhatsappMsg* msg);
  const QList<OxWhatsappMsg*>& messages() const { return m_messages; }
  void setDeleted(bool deleted) { m_deleted = deleted; }
  bool deleted() const { return m_deleted; }
  qint64 chatSize();
  // By message date: ascending gives oldest first, otherwise newest first.
  // A null message pointer compares as coming first either way.
  void sortMsg(bool ascending);

private:
  void clearMsgs();

  QList<OxWhatsappMsg*> m_messages;
  bool m_deleted = false;
};

class SHERD_EXPORT OxWhatsappItem : public OxAbstractItem {
public:
  OxWhatsappItem();
  OxWhatsappItem(const OxWhatsappItem& other);
  OxWhatsappItem& operator=(const OxWhatsappItem& other);
  ~OxWhatsappItem() override;

  // The value columns the chat readers fill: the chat's name, its title (the
  // members' names), the members' numbers joined with ",", the last message's
  // date text, its content, the chat picture's path; column 6 holds the date
  // as the list's sort key and column 7 the account number.
  enum Column { ColName = 0, ColTitle, ColNumbers, ColDate, ColLastContent, ColPicture, ColSortDate, ColAccount, ColumnCount };

  // A heap item with 8 columns and dataColumn() 2; null if allocation fails.
  static OxWhatsappItem* createItem();

  // Stores the chat (owned from now on) without deleting a previous one.
  void setDetailContent(OxWhatsappChat* chat) { m_detailContent = chat; }
  const OxWhatsappChat* detailContent() const { return m_detailContent; }
  void setShowLastMes(bool show) { m_showLastMes = show; }
  bool showLastMes() const { return m_showLastMes; }

  // 0 "Content", 1 "Date"; empty for every other column.
  QString columnName(int column) const override;

protected:
  quint64 calcSize() const override;

private:
  OxWhatsappChat* m_detailContent = nullptr;
  bool m_showLastMes = false;
};
