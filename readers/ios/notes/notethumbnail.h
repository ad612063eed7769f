#pragma once
// Pictures of note attachments: the small thumbnail kept in the item, and the
// rotation of drawings whose stored preview is not yet upright.
#include <QImage>
#include <QString>

namespace NoteThumbnail {
// Widest thumbnail kept in a note piece.
constexpr int kMaxWidth = 250;
// The image at path, turned upright by its orientation tag, then scaled down
// to kMaxWidth when wider; null when it does not load.
QImage load(const QString& path);
// Rotates the image at path by the angle of orientation (0 to 3 index the
// angles 0, 180, 270 and 90 degrees) and saves it as a PNG named
// "attach_<number>.png" (made unique) in folder. Returns the saved path, or
// path itself when nothing needs turning or the image cannot be loaded or saved.
QString rotate(const QString& path, int orientation, qint64 number, const QString& folder);
} // namespace NoteThumbnail
