// What the dialogs of presets have in common.
#pragma once

#include "operation/preset.h"

#include <QDialog>

#include <functional>

class QHBoxLayout;
class QLabel;
class QPushButton;
class QVBoxLayout;

namespace qx5::cli {

class PresetWork;

/// A window of its own beside the main window, which goes on working; gone once it is closed. Its last line says what
/// came of things, to eyes and to screen readers. Window thread; the work outlives it.
class PresetDialog : public QDialog
{
public:
    PresetDialog(PresetWork& work, QString const& title, QString const& name, QWidget* parent);

    /// The presets of the project are others now.
    virtual void PresetsChanged() {}
    /// What the last line says.
    QString Line() const;
    /// Who is told that this dialog has changed them.
    void SetChanged(std::function<void()> changed) { m_changed = std::move(changed); }

protected:
    PresetWork& Work() { return m_work; }
    QVBoxLayout& Column() { return *m_column; }
    void Say(QString const& line);
    void NoteChange();

    /// A label in front of the widget, whose name it is, too. The label goes into the row with it.
    void AddNamed(QHBoxLayout& row, QString const& label, QWidget* widget, int stretch);
    QPushButton* AddButton(QHBoxLayout& row, QString const& text, QString const& name, QString const& tip,
                           std::function<void()> pressed);
    /// The last row: the line, then the buttons that `add` adds, then one that closes.
    void AddEnd(std::function<void(QHBoxLayout& buttons)> const& add);

    /// Calls `then` when the operator says yes; the window does not wait.
    void Ask(QString const& question, QString const& yes, std::function<void()> then);
    /// Calls `then` with the file that the operator chooses. One that is there is only replaced when he says so.
    void AskForFile(bool isToWrite, QString const& proposed, std::function<void(QString const& file)> then);

    /// Puts the preset into the project, in the place of one of its name when the operator says so.
    void Keep(operation::Preset const& preset, std::function<void()> kept);
    /// Writes it to a file that the operator chooses.
    void Export(operation::Preset const& preset, std::function<void(QString const& file)> written);

private:
    void Put(operation::Preset const& preset, bool replace, std::function<void()> kept);

    PresetWork& m_work;
    QVBoxLayout* m_column;
    QLabel* m_line;
    std::function<void()> m_changed;
};

} // namespace qx5::cli
