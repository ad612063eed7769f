#pragma once
// Opening a recovered file for a person to look at or listen to.
//
// Files inside a backup have no name of their own (a hash), and those of an
// encrypted backup are decrypted copies under sherd's temporary root. A file
// handed to the desktop is first copied under the temporary root with the
// suffix its content calls for, so that the right program picks it up; the
// backup folder is never touched.
#include <QString>

class QWidget;

// Shows a picture full size in a window of its own; false when it cannot be read.
bool showPicture(QWidget* parent, const QString& path, const QString& title);
// Hands a file to the desktop's program for it; false when there is no file
// or the copy failed.
bool openWithDesktop(const QString& path);
// The copy openWithDesktop would hand over (made when missing); empty on failure.
QString desktopCopy(const QString& path);
