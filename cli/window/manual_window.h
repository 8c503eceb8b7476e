// The manual in a window: its text with headings to go to, search, and pictures where they are found.
#pragma once

#include <QColor>
#include <QDialog>

#include <filesystem>
#include <span>
#include <vector>

class QLabel;
class QLineEdit;
class QTreeWidget;
class QTreeWidgetItem;

namespace qx5::cli {

class ManualText;

/// Keys of the manual's window.
struct ManualKey
{
    char const* keys;
    char const* what;
};
std::span<ManualKey const> ManualKeys();
/// Set on the actions that those keys belong to: the list of shortcuts has the keys before there is a window.
inline constexpr char const* listedByItself = "qx5ListedByItself";

/// Where the pictures of the manual lie, seen from this program: among the installed documents, in a build folder those
/// of the checkout. There need not be any.
std::filesystem::path DocumentsFolder();

/// The text is the program's own; nothing is fetched from anywhere. Window thread.
class ManualWindow final : public QDialog
{
public:
    /// `pictures`: the folder that the text's names of pictures are seen from; of those that are not there the words
    /// stand in their place.
    ManualWindow(std::filesystem::path const& pictures, QWidget* parent = nullptr);

    /// Goes to the next place that has the text, or the one before; from the end to the beginning.
    void Find(bool backwards);

protected:
    void showEvent(QShowEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void AddActions();
    void Fill();
    void PutPictures();
    void RuleTables();
    void ListHeadings();
    void GoTo(QTreeWidgetItem const* heading);
    void MarkFound();

    QString m_pictures;
    bool m_isFilled = false;
    QColor m_link; ///< as the text was filled
    QTreeWidget* m_contents;
    ManualText* m_text;
    QLineEdit* m_search;
    QLabel* m_found;
};

} // namespace qx5::cli
