// The manual in a window: its pages with headings and links to go to, search, and pictures where they are found.
#pragma once

#include <QColor>
#include <QDialog>

#include <filesystem>
#include <functional>
#include <map>
#include <span>
#include <vector>

class QLabel;
class QLineEdit;
class QTreeWidget;
class QTreeWidgetItem;
class QUrl;

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

/// Where the manual's index lies and what its pages link to, pictures among it, seen from this program: among the
/// installed documents, in a build folder those of the checkout. There need not be any.
std::filesystem::path DocumentsFolder();

/// The pages are the program's own, one after the other; nothing is fetched from anywhere. A link leads to its place in
/// them; a file beside them is opened by the desktop. Window thread.
class ManualWindow final : public QDialog
{
public:
    /// `documents`: the folder of the manual's index. Of pictures that are not there the words stand in their place.
    ManualWindow(std::filesystem::path const& documents, QWidget* parent = nullptr);

    /// Goes to the next place that has the text, or the one before; from the end to the beginning.
    void Find(bool backwards);
    /// Goes to where the last link that was followed stands; nothing when none was.
    void GoBack();

    /// Opens a file that a link leads to and that is no page of the manual: the desktop does.
    std::function<void(QUrl const& file)> openFile;

protected:
    void showEvent(QShowEvent* event) override;
    void changeEvent(QEvent* event) override;

private:
    void AddActions();
    void Fill();
    void ResolveLinks();
    void PutPictures();
    void RuleTables();
    void ListHeadings();
    void GoTo(int position);
    void Follow(QUrl const& link);
    void MarkFound();

    QString m_documents;
    bool m_isFilled = false;
    std::map<QString, int> m_places; ///< of pages ("manual/day.md") and of their headings ("manual/day.md#begin")
    std::vector<int> m_left;         ///< where links were followed
    QColor m_link;                   ///< as the text was filled
    QTreeWidget* m_contents;
    ManualText* m_text;
    QLineEdit* m_search;
    QLabel* m_found;
};

} // namespace qx5::cli
