#include "ui/token_menu.h"

#include "ui/symbols.h"

#include <QAction>
#include <QKeySequence>
#include <QLineEdit>
#include <QMenu>

namespace {

// The tokens a field can take, as the menu offers them, in groups: the file,
// the image, the song. A date's format can be changed after the colon.
struct TokenChoice {
    const char* label;
    const char* token;
};
constexpr TokenChoice tokenChoices[] = {
    {"Date taken", "{taken:yyyy-MM-dd}"},
    {"Date modified", "{modified:yyyy-MM-dd}"},
    {"Folder name", "{folder}"},
    {"Original name", "{name}"},
    {nullptr, nullptr},
    {"Camera model", "{camera}"},
    {"Lens", "{lens}"},
    {"Width in pixels", "{width}"},
    {"Height in pixels", "{height}"},
    {nullptr, nullptr},
    {"Artist", "{artist}"},
    {"Album", "{album}"},
    {"Title", "{title}"},
    {"Track number", "{track:00}"},
    {"Year", "{year}"},
};

} // namespace

void TokenMenu::attach(QLineEdit* line) {
    auto* menu = new QMenu(line);
    menu->setAccessibleName(QStringLiteral("Insert a token"));
    for (const TokenChoice& choice : tokenChoices) {
        if (!choice.label) {
            menu->addSeparator();
            continue;
        }
        const QString token = QString::fromUtf8(choice.token);
        QAction* item =
            menu->addAction(QString::fromUtf8(choice.label) + QLatin1Char('\t') + token);
        QObject::connect(item, &QAction::triggered, line, [line, token] {
            line->insert(token);
            // `insert` signals textChanged only; the rules listen for edits.
            emit line->textEdited(line->text());
        });
    }
    menu->addSeparator();
    QAction* help = menu->addAction(
        QStringLiteral("Dates take Qt's format letters after the colon, e.g. {taken:d MMM yyyy}"));
    help->setEnabled(false);
    QAction* open =
        line->addAction(Symbols::icon(QStringLiteral("curlybraces")), QLineEdit::TrailingPosition);
    // Tied to the field, so that each field opens its own menu.
    open->setShortcut(QKeySequence(Qt::CTRL | Qt::Key_Space));
    open->setShortcutContext(Qt::WidgetShortcut);
    open->setToolTip(QStringLiteral("Insert a token: date taken, date modified, folder, "
                                    "original name, camera, lens, size or a song's tags (%1)")
                         .arg(open->shortcut().toString(QKeySequence::NativeText)));
    QObject::connect(open, &QAction::triggered, line, [line, menu] {
        menu->popup(
            line->mapToGlobal(QPoint(line->width() - menu->sizeHint().width(), line->height())));
        // Opened by keys, the menu is walked by them from its first token.
        menu->setActiveAction(menu->actions().value(0));
    });
}
