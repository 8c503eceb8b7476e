// Pictures of windows as files.
#pragma once

#include <QPixmap>
#include <QString>

#include <string>

namespace qx5::cli {

/// As PNG. False, and why, when the picture could not be written whole.
bool WritePicture(QPixmap const& picture, QString const& file, std::string& error);

} // namespace qx5::cli
