// The manual in a window: its pages with headings and links to go to, search, and pictures where they are found.
#include "manual_window.h"

#include "cli/documents/manual.h"
#include "cli/documents/manual_text.h"
#include "cli/platform/executable_path.h"
#include "cli/window/screen_room.h"
#include "reference_host/window/search_field.h"

#include <QAction>
#include <QDesktopServices>
#include <QDialogButtonBox>
#include <QDir>
#include <QEvent>
#include <QFileInfo>
#include <QHBoxLayout>
#include <QImageReader>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QSplitter>
#include <QTextBlock>
#include <QTextBrowser>
#include <QTextDocument>
#include <QTextTable>
#include <QTreeWidget>
#include <QUrl>
#include <QVBoxLayout>

#include <algorithm>
#include <map>
#include <system_error>
#include <utility>

namespace qx5::cli {

namespace {

constexpr ManualKey manualKeys[]{
    {"Ctrl+F", "Goes to the field of the search"},
    {"F3", "The next place that has the text"},
    {"Shift+F3", "The place before that has it"},
    {"Alt+Left", "Back from where a link led"},
    {"Esc", "Closes the manual"},
};

constexpr int PositionRole = Qt::UserRole;
/// Greatest widths of pictures, alone and in a table's cell.
constexpr int greatestWidth = 640;
constexpr int greatestWidthInTable = 310;

/// What a link to that heading calls it: small letters, digits, `-` and `_`, a hyphen for each blank.
QString AnchorOf(QString const& heading)
{
    QString anchor;
    for (QChar const c : heading.toLower()) {
        if (c.isLetterOrNumber() || c == QLatin1Char('-') || c == QLatin1Char('_')) {
            anchor += c;
        } else if (c.isSpace()) {
            anchor += QLatin1Char('-');
        }
    }
    return anchor;
}

/// The file of the `number`-th page, from 1: each begins with a heading of the first level.
QString FileOfPage(std::size_t number)
{
    auto const& pages = texts::manualPages;
    if (number == 0 || number > std::size(pages)) {
        return {};
    }
    auto const name = pages[number - 1].file;
    return QString::fromUtf8(name.data(), static_cast<qsizetype>(name.size()));
}

/// A page's link to a file or a heading, as one from the folder of the index.
QString SeenFromTheIndex(QString const& page, QString const& link)
{
    return link.startsWith(QLatin1Char('#')) ? page + link
                                             : QDir::cleanPath(QFileInfo(page).path() + QLatin1Char('/') + link);
}

} // namespace

/// Reads pictures when they come into sight, at the size that they have there: the toolkit's own scaling of a large one
/// leaves its texts unreadable.
class ManualText final : public QTextBrowser
{
public:
    struct Picture
    {
        QString file;
        QSize size;
    };
    std::map<QString, Picture> pictures; ///< by their names in the text

protected:
    QVariant loadResource(int type, QUrl const& name) override
    {
        auto const picture = pictures.find(name.toString());
        if (type != QTextDocument::ImageResource || picture == pictures.end()) {
            return {};
        }
        auto const ratio = devicePixelRatioF();
        auto const& [file, size] = picture->second;
        auto image = QImageReader(file).read().scaled(size * ratio, Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        image.setDevicePixelRatio(ratio);
        return image;
    }
};

std::span<ManualKey const> ManualKeys()
{
    return manualKeys;
}

std::filesystem::path DocumentsFolder()
{
    auto const programs = ExecutablePath().parent_path();
    auto const installed = (programs / QX5_DOCUMENTS_FROM_PROGRAMS).lexically_normal();
    std::error_code problem;
    // A build lies in build/PRESET/bin of its checkout.
    return std::filesystem::exists(installed, problem) ? installed : (programs / "../../../docs").lexically_normal();
}

ManualWindow::ManualWindow(std::filesystem::path const& documents, QWidget* parent)
    : QDialog(parent), openFile([](QUrl const& file) { QDesktopServices::openUrl(file); }),
      m_documents(QString::fromStdString(documents.string())), m_contents(new QTreeWidget), m_text(new ManualText),
      m_search(vordal::MakeSearchField(tr("Search in the manual"), tr("Search"), this)), m_found(new QLabel)
{
    setObjectName(QStringLiteral("manualWindow"));
    setWindowTitle(tr("Manual"));
    m_contents->setObjectName(QStringLiteral("manualContents"));
    m_contents->setAccessibleName(tr("Headings of the manual"));
    m_contents->setHeaderHidden(true);
    m_contents->setColumnCount(1);
    m_text->setObjectName(QStringLiteral("manualText"));
    m_text->setAccessibleName(tr("Manual"));
    m_text->setOpenLinks(false);
    m_text->setTabChangesFocus(true);
    m_text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard |
                                    Qt::LinksAccessibleByMouse);
    m_search->setObjectName(QStringLiteral("manualSearch"));
    m_found->setObjectName(QStringLiteral("manualFound"));
    m_found->setAccessibleDescription(tr("How often the text is found"));
    m_found->setTextFormat(Qt::PlainText);

    auto* const next = new QPushButton(tr("&Next"));
    next->setObjectName(QStringLiteral("manualNext"));
    next->setAccessibleName(tr("Next place"));
    auto* const before = new QPushButton(tr("&Previous"));
    before->setObjectName(QStringLiteral("manualPrevious"));
    before->setAccessibleName(tr("Previous place"));
    auto* const buttons = new QDialogButtonBox(QDialogButtonBox::Close);
    for (auto* const button : {next, before, buttons->button(QDialogButtonBox::Close)}) {
        button->setAutoDefault(false); // Enter in the field of the search searches
    }
    connect(next, &QPushButton::clicked, this, [this] { Find(false); });
    connect(before, &QPushButton::clicked, this, [this] { Find(true); });
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);
    connect(m_search, &QLineEdit::returnPressed, this, [this] { Find(false); });
    connect(m_search, &QLineEdit::textChanged, this, [this] { MarkFound(); });
    connect(m_contents, &QTreeWidget::currentItemChanged, this, [this](QTreeWidgetItem const* heading) {
        if (heading != nullptr) {
            GoTo(heading->data(0, PositionRole).toInt());
        }
    });
    connect(m_text, &QTextBrowser::anchorClicked, this, &ManualWindow::Follow);

    auto* const row = new QHBoxLayout;
    row->addWidget(m_search, 1);
    row->addWidget(before);
    row->addWidget(next);
    row->addWidget(m_found);
    auto* const both = new QSplitter(Qt::Horizontal);
    both->addWidget(m_contents);
    both->addWidget(m_text);
    both->setStretchFactor(1, 1);
    both->setSizes({fontMetrics().averageCharWidth() * 40, greatestWidth + 60});
    both->setChildrenCollapsible(false);
    auto* const column = new QVBoxLayout(this);
    column->addLayout(row);
    column->addWidget(both, 1);
    column->addWidget(buttons);
    AddActions();
    QSize const wanted(fontMetrics().averageCharWidth() * 40 + greatestWidth + 100, fontMetrics().lineSpacing() * 42);
    resize(wanted.boundedTo(RoomFor(*this)));
}

void ManualWindow::AddActions()
{
    auto const add = [this](std::size_t row, auto&& act) {
        auto* const action = new QAction(tr(manualKeys[row].what), this);
        action->setShortcut(QKeySequence(QString::fromLatin1(manualKeys[row].keys)));
        action->setProperty(listedByItself, true);
        connect(action, &QAction::triggered, this, act);
        addAction(action);
    };
    add(0, [this] {
        m_search->setFocus(Qt::ShortcutFocusReason);
        m_search->selectAll();
    });
    add(1, [this] { Find(false); });
    add(2, [this] { Find(true); });
    add(3, [this] { GoBack(); });
}

void ManualWindow::Fill()
{
    m_text->document()->setMarkdown(QString::fromStdString(WholeManual()));
    ResolveLinks();
    PutPictures();
    RuleTables();
    ListHeadings();
    m_isFilled = true;
    m_link = palette().color(QPalette::Link);
}

void ManualWindow::ResolveLinks()
{
    struct Link
    {
        int position;
        int length;
        QTextCharFormat format;
    };
    std::vector<Link> links;
    auto& document = *m_text->document();
    std::size_t page = 0;
    for (auto block = document.begin(); block.isValid(); block = block.next()) {
        page += block.blockFormat().headingLevel() == 1 ? 1 : 0;
        auto const file = FileOfPage(page);
        for (auto at = block.begin(); !at.atEnd(); ++at) {
            auto const fragment = at.fragment();
            auto format = fragment.charFormat();
            if (format.isImageFormat()) {
                auto image = format.toImageFormat();
                image.setName(SeenFromTheIndex(file, image.name()));
                links.push_back({fragment.position(), fragment.length(), image});
            } else if (format.isAnchor()) {
                format.setAnchorHref(SeenFromTheIndex(file, format.anchorHref()));
                links.push_back({fragment.position(), fragment.length(), format});
            }
        }
    }
    QTextCursor cursor(&document);
    cursor.beginEditBlock();
    for (auto const& link : links) {
        cursor.setPosition(link.position);
        cursor.setPosition(link.position + link.length, QTextCursor::KeepAnchor);
        cursor.setCharFormat(link.format);
    }
    cursor.endEditBlock();
}

void ManualWindow::PutPictures()
{
    struct Picture
    {
        int position;
        QTextImageFormat format;
    };
    std::vector<Picture> pictures;
    auto& document = *m_text->document();
    for (auto block = document.begin(); block.isValid(); block = block.next()) {
        for (auto at = block.begin(); !at.atEnd(); ++at) {
            auto const fragment = at.fragment();
            if (fragment.charFormat().isImageFormat()) {
                pictures.push_back({fragment.position(), fragment.charFormat().toImageFormat()});
            }
        }
    }
    // From the end, as words take more room than the pictures that they stand for; all as one change, which is laid out
    // once.
    QTextCursor cursor(&document);
    cursor.beginEditBlock();
    for (auto picture = pictures.rbegin(); picture != pictures.rend(); ++picture) {
        cursor.setPosition(picture->position);
        cursor.setPosition(picture->position + 1, QTextCursor::KeepAnchor);
        auto const file = m_documents + QLatin1Char('/') + picture->format.name();
        auto const natural = QImageReader(file).size();
        if (!natural.isValid()) {
            cursor.insertText(tr("[picture: %1]").arg(picture->format.property(QTextFormat::ImageAltText).toString()),
                              QTextCharFormat());
            continue;
        }
        int const most = cursor.currentTable() != nullptr ? greatestWidthInTable : greatestWidth;
        int const width = std::min(natural.width(), most);
        QSize const size(width, width * natural.height() / natural.width());
        picture->format.setWidth(size.width());
        picture->format.setHeight(size.height());
        m_text->pictures[picture->format.name()] = {file, size};
        cursor.setCharFormat(picture->format);
    }
    cursor.endEditBlock();
}

void ManualWindow::RuleTables()
{
    for (auto* const frame : m_text->document()->rootFrame()->childFrames()) {
        if (auto* const table = qobject_cast<QTextTable*>(frame)) {
            auto format = table->format();
            format.setBorderCollapse(true);
            format.setBorder(1);
            format.setBorderStyle(QTextFrameFormat::BorderStyle_Solid);
            format.setBorderBrush(palette().color(QPalette::Mid));
            format.setCellPadding(4);
            table->setFormat(format);
        }
    }
}

void ManualWindow::ListHeadings()
{
    m_contents->clear();
    m_places.clear();
    m_left.clear();
    std::size_t page = 0;
    std::vector<QTreeWidgetItem*> above; // the heading that is open on each level
    for (auto block = m_text->document()->begin(); block.isValid(); block = block.next()) {
        auto const level = static_cast<std::size_t>(block.blockFormat().headingLevel());
        if (level == 0) {
            continue;
        }
        page += level == 1 ? 1 : 0;
        auto const file = FileOfPage(page);
        m_places.emplace(file, block.position());
        m_places.emplace(file + QLatin1Char('#') + AnchorOf(block.text()), block.position());
        above.resize(std::min(above.size(), level - 1));
        auto* const item = above.empty() ? new QTreeWidgetItem(m_contents) : new QTreeWidgetItem(above.back());
        item->setText(0, block.text());
        item->setData(0, PositionRole, block.position());
        above.push_back(item);
    }
    m_contents->expandAll();
}

void ManualWindow::GoTo(int position)
{
    QTextCursor cursor(m_text->document());
    // From the end, so that the heading comes to stand at the top.
    cursor.movePosition(QTextCursor::End);
    m_text->setTextCursor(cursor);
    cursor.setPosition(position);
    m_text->setTextCursor(cursor);
}

void ManualWindow::Follow(QUrl const& link)
{
    if (auto const place = m_places.find(link.toString()); place != m_places.end()) {
        m_left.push_back(m_text->cursorForPosition({0, 0}).position());
        GoTo(place->second);
        return;
    }
    QFileInfo const file(m_documents + QLatin1Char('/') + link.path());
    if (link.isRelative() && file.exists()) {
        openFile(QUrl::fromLocalFile(file.canonicalFilePath()));
    } else {
        m_found->setText(tr("%1 is not installed").arg(file.fileName()));
    }
}

void ManualWindow::GoBack()
{
    if (!m_left.empty()) {
        GoTo(std::exchange(m_left.back(), 0));
        m_left.pop_back();
    }
}

void ManualWindow::Find(bool backwards)
{
    auto const words = m_search->text();
    if (words.isEmpty()) {
        m_search->setFocus(Qt::ShortcutFocusReason);
        return;
    }
    QTextDocument::FindFlags flags;
    flags.setFlag(QTextDocument::FindBackward, backwards);
    if (!m_text->find(words, flags)) {
        auto const present = m_text->textCursor();
        m_text->moveCursor(backwards ? QTextCursor::End : QTextCursor::Start);
        if (!m_text->find(words, flags)) {
            m_text->setTextCursor(present);
        }
    }
    MarkFound();
}

void ManualWindow::MarkFound()
{
    auto const words = m_search->text();
    auto const present = m_text->textCursor();
    QList<QTextEdit::ExtraSelection> places;
    qsizetype number = 0;
    if (!words.isEmpty()) {
        for (auto found = m_text->document()->find(words); !found.isNull();
             found = m_text->document()->find(words, found)) {
            QTextEdit::ExtraSelection place;
            place.cursor = found;
            place.format.setFontUnderline(true);
            places.push_back(place);
            if (found.selectionStart() == present.selectionStart() && found.selectionEnd() == present.selectionEnd()) {
                number = places.size();
            }
        }
    }
    m_text->setExtraSelections(places);
    m_found->setText(words.isEmpty()    ? QString()
                     : places.isEmpty() ? tr("not found")
                     : number == 0      ? tr("%1 places").arg(places.size())
                                        : tr("%1 of %2").arg(number).arg(places.size()));
}

void ManualWindow::showEvent(QShowEvent* event)
{
    if (!m_isFilled) {
        Fill();
        m_search->setFocus();
    }
    QDialog::showEvent(event);
}

void ManualWindow::changeEvent(QEvent* event)
{
    QDialog::changeEvent(event);
    // The colour of what is code or a link stands in the text.
    if (event->type() == QEvent::PaletteChange && m_isFilled && palette().color(QPalette::Link) != m_link) {
        Fill();
        MarkFound();
    }
}

} // namespace qx5::cli
