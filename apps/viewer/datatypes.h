#pragma once
// The viewer's names of the eleven data types: the title a person reads in the
// sidebar, and the short key of the command line (--type whatsapp).
#include <QString>
#include <QStringList>

QString dataTypeTitle(int type);
// "whatsapp", "kik", ..., "calls", indexed by type number.
const QStringList& dataTypeKeys();
// The type of a key (case ignored), or -1.
int dataTypeFromKey(const QString& key);
// True for the seven messengers, whose items are chats.
bool isChatType(int type);
// "1 item", "12 items".
QString itemCount(int n);
