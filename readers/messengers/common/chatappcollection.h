#pragma once
// CChatAppCollection: what the chat builders of the messenger apps have in common
// before their databases differ.
//
// A chat builder knows nothing of backups: where its database and its files
// are is asked through the virtual operations below, which the backup
// locators answer from an opened backup. The base answers them with empty
// strings, so that a database file can be read directly by its path.
//
// It also carries the two switches every messenger collection has (both on
// after construction: buildChats makes the builder build chat items; with it
// off, mediaOnly asks for the media of every message instead, where the app
// has such a run) and the base folder: the folder, relative to the app's
// container and ending in "/", that the app's other files are named from.
#include <QString>

class CChatAppCollection {
public:
  CChatAppCollection();
  virtual ~CChatAppCollection();

  // Local path of a readable copy of the named database file, or empty.
  virtual QString dbFilePath(const QString& name);
  // Local path of one of the app's files given by its path relative to the
  // app's container, or empty.
  virtual QString mediaFilePath(const QString& path);
  // Display name of a file: its time and an extension for the message type
  // ("jpg" for 1, "MOV" for 2); empty when the file is unknown.
  virtual QString mediaFileName(const QString& key, int type);

  void setSwitches(bool buildChats, bool mediaOnly);
  bool isBuildingChats() const { return m_buildChats; }
  bool isMediaOnly() const { return m_mediaOnly; }

  const QString& baseFolder() const { return m_baseFolder; }
  void setBaseFolder(const QString& folder) { m_baseFolder = folder; }

private:
  CChatAppCollection(const CChatAppCollection&) = delete;
  CChatAppCollection& operator=(const CChatAppCollection&) = delete;

  bool m_buildChats = true;
  bool m_mediaOnly = true;
  QString m_baseFolder;
};
