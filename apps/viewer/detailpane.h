#pragma once
// DetailPane: what the viewer shows of the selected item: a chat as its
// transcript, a note with its attachments, an event, a call with the caller's
// name, a bookmark or a recording with its fields.
//
// A locked note offers a password field; unlockRequested() hands the password
// to the window, which loads the backup again with it.
#include <QStackedWidget>

class ChatTranscriptView;
class OxAbstractItem;
class QLabel;
class QLineEdit;
class QTextBrowser;
class QUrl;
class QWidget;

class DetailPane : public QStackedWidget {
  Q_OBJECT
public:
  explicit DetailPane(QWidget* parent = nullptr);

  // Shows an item of a data type's list (null: nothing).
  void showItem(int type, OxAbstractItem* item);
  OxAbstractItem* item() const { return m_item; }
  ChatTranscriptView* transcript() const { return m_transcript; }
  QTextBrowser* document() const { return m_document; }
  // The HTML of an item that is not a chat, as the pane shows it.
  static QString itemHtml(int type, const OxAbstractItem* item);

Q_SIGNALS:
  void unlockRequested(const QString& password);

private:
  void onAnchor(const QUrl& url);

  OxAbstractItem* m_item = nullptr;
  QWidget* m_empty = nullptr;
  QWidget* m_chatPage = nullptr;
  QLabel* m_chatTitle = nullptr;
  ChatTranscriptView* m_transcript = nullptr;
  QWidget* m_documentPage = nullptr;
  QWidget* m_lockBar = nullptr;
  QLineEdit* m_password = nullptr;
  QTextBrowser* m_document = nullptr;
};
