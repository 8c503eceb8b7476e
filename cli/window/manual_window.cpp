// The manual in a window: its text with headings to go to, search, and pictures where they are found.
#include "manual_window.h"

#include "cli/platform/executable_path.h"
#include "cli/documents/manual.h"
#include "cli/window/screen_room.h"
#include "reference_host/window/search_field.h"

#include <QAction>
#include <QDialogButtonBox>
#include <QEvent>
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
    {"Esc", "Closes the manual"},
};

constexpr int PositionRole = Qt::UserRole;
/// Greatest widths of pictures, alone and in a table's cell.
constexpr int greatestWidth = 640;
constexpr int greatestWidthInTable = 310;

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

ManualWindow::ManualWindow(std::filesystem::path const& pictures, QWidget* parent)
    : QDialog(parent), m_pictures(QString::fromStdString(pictures.string())), m_contents(new QTreeWidget),
      m_text(new ManualText), m_search(vordal::MakeSearchField(tr("Search in the manual"), tr("Search"), this)),
      m_found(new QLabel)
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
    m_text->setTextInteractionFlags(Qt::TextSelectableByMouse | Qt::TextSelectableByKeyboard);
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
    connect(m_contents, &QTreeWidget::currentItemChanged, this,
            [this](QTreeWidgetItem const* heading) { GoTo(heading); });

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
}

void ManualWindow::Fill()
{
    constexpr auto text = texts::manual_md;
    m_text->document()->setMarkdown(QString::fromUtf8(text.data(), static_cast<qsizetype>(text.size())));
    PutPictures();
    RuleTables();
    ListHeadings();
    m_isFilled = true;
    m_link = palette().color(QPalette::Link);
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
        auto const file = m_pictures + QLatin1Char('/') + picture->format.name();
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
    QTreeWidgetItem* chapter = nullptr;
    for (auto block = m_text->document()->begin(); block.isValid(); block = block.next()) {
        int const level = block.blockFormat().headingLevel();
        if (level == 2 || (level == 3 && chapter == nullptr)) {
            chapter = new QTreeWidgetItem(m_contents, {block.text()});
            chapter->setData(0, PositionRole, block.position());
        } else if (level == 3) {
            (new QTreeWidgetItem(chapter, {block.text()}))->setData(0, PositionRole, block.position());
        }
    }
    m_contents->expandAll();
}

void ManualWindow::GoTo(QTreeWidgetItem const* heading)
{
    if (heading == nullptr) {
        return;
    }
    QTextCursor cursor(m_text->document());
    // From the end, so that the heading comes to stand at the top.
    cursor.movePosition(QTextCursor::End);
    m_text->setTextCursor(cursor);
    cursor.setPosition(heading->data(0, PositionRole).toInt());
    m_text->setTextCursor(cursor);
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
