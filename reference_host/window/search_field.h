// A field that one looks for something with.
#pragma once

class QLineEdit;
class QString;
class QWidget;

namespace vordal {

/// Says what it takes while it is empty, and has a button that empties it. It becomes the parent's. Window thread.
QLineEdit* MakeSearchField(QString const& name, QString const& hint, QWidget* parent);

} // namespace vordal
