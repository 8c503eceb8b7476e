// A text field whose background colour tells whether it was edited.
#pragma once

#include <VordalBaseR/CString.h>
#include <VordalBaseR/Export.h>

#include <cstdint>
#include <functional>
#include <memory>

class QLineEdit;

/// The system colour of a field that holds what the sonar said.
inline constexpr int SYSTEM_COLOR_CLEAN_FIELD = 20;

/// Drives one text field of a page. The field's widget stays the page's; the two may go in either order. Without a
/// widget, operations do nothing and the text is empty. Window thread.
class VORDAL_API CColorEdit
{
public:
    CColorEdit();
    /// For that field, which stays the caller's and has to outlive this.
    explicit CColorEdit(QLineEdit* field);
    CColorEdit(CColorEdit const&) = delete;
    CColorEdit& operator=(CColorEdit const&) = delete;
    ~CColorEdit();

    /// Takes over another widget, or with null lets go of the present one.
    void Attach(QLineEdit* field);

    /// Writes the text. That counts as an edit, also with the same text: the edit handler runs before this returns.
    void SetText(CString const& text);
    /// What stands in the field now.
    CString GetText() const;

    /// Gives the field a colour of its own, each part 0 to 255.
    void SetBackColor(std::uint8_t red, std::uint8_t green, std::uint8_t blue);
    /// Gives the field a colour of the system by its number, such as SYSTEM_COLOR_CLEAN_FIELD.
    void SetSystemBackColor(int systemColor);
    /// Whether the field has a colour of its own, that is, whether it shows as edited.
    bool HasOwnBackColor() const;

    /// Called whenever the text was written, by the operator or by SetText. Empty for none.
    void SetEditHandler(std::function<void()> handler);
    /// Called when the operator asks for the values to be applied from within the field, that is, on the Return key,
    /// edited or not. Empty for none.
    void SetApplyHandler(std::function<void()> handler);

private:
    struct State;
    std::unique_ptr<State> m_state;
};
