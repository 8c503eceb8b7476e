// What program this is, and which plug-ins it has loaded.
#pragma once

#include "cli/program_facts.h"

#include <QDialog>

#include <vector>

class QPlainTextEdit;

namespace qx5::cli {

/// All of it is one text that can be read by key and copied. Window thread.
class AboutWindow final : public QDialog
{
public:
    explicit AboutWindow(QWidget* parent);

    void Show(std::vector<Fact> const& program, std::vector<Fact> const& plugIns);

private:
    QPlainTextEdit* m_text;
};

} // namespace qx5::cli
