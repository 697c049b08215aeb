#pragma once

class QLineEdit;

// A "{ }" button inside a rule's text field that opens the menu of tokens;
// Ctrl+Space opens it from the keyboard. The chosen token goes in at the
// cursor, as if typed.
namespace TokenMenu {

void attach(QLineEdit* line);

} // namespace TokenMenu
