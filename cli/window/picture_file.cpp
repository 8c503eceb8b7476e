// Pictures of windows as files.
#include "picture_file.h"

#include <QBuffer>
#include <QFile>

#include <fmt/format.h>

namespace qx5::cli {

bool WritePicture(QPixmap const& picture, QString const& file, std::string& error)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    bool const isMade = buffer.open(QIODevice::WriteOnly) && picture.save(&buffer, "PNG");
    QFile target(file);
    // Without a buffer of its own, in which the error of a full disk would be lost.
    if (isMade && target.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && target.write(bytes) == bytes.size()) {
        return true;
    }
    error = fmt::format("{} cannot be written: {}", file.toStdString(),
                        isMade ? target.errorString().toStdString() : "there is no picture");
    return false;
}

} // namespace qx5::cli
