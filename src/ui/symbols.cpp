#include "ui/symbols.h"

#include <QApplication>
#include <QHash>
#include <QStyle>

namespace Symbols {
namespace {

struct Mapping {
    const char* theme;
    QStyle::StandardPixmap fallback;
};

const QHash<QString, Mapping>& mappings() {
    static const QHash<QString, Mapping> table = {
        {"plus", {"list-add", QStyle::SP_FileDialogNewFolder}},
        {"photo", {"image-x-generic", QStyle::SP_FileIcon}},
        {"doc.text", {"text-x-generic", QStyle::SP_FileIcon}},
        {"arrow.right", {"go-next", QStyle::SP_ArrowRight}},
        {"checkmark.circle.fill", {"emblem-ok", QStyle::SP_DialogApplyButton}},
        {"checkmark.shield", {"security-high", QStyle::SP_DialogApplyButton}},
        {"exclamationmark.circle.fill", {"dialog-warning", QStyle::SP_MessageBoxWarning}},
        {"exclamationmark.triangle", {"dialog-warning", QStyle::SP_MessageBoxWarning}},
        {"minus.circle", {"list-remove", QStyle::SP_DialogNoButton}},
        {"info.circle", {"dialog-information", QStyle::SP_MessageBoxInformation}},
        {"hourglass", {"appointment-soon", QStyle::SP_BrowserReload}},
        {"arrow.uturn.backward", {"edit-undo", QStyle::SP_ArrowBack}},
        {"arrow.uturn.backward.circle.fill", {"edit-undo", QStyle::SP_ArrowBack}},
        {"square.and.arrow.up", {"document-export", QStyle::SP_DialogSaveButton}},
        {"questionmark.circle", {"help-about", QStyle::SP_MessageBoxQuestion}},
        {"lock.shield", {"security-high", QStyle::SP_VistaShield}},
        {"bookmark", {"bookmark-new", QStyle::SP_DialogSaveButton}},
        {"slider.horizontal.3", {"preferences-system", QStyle::SP_FileDialogDetailedView}},
        {"tablecells", {"x-office-spreadsheet", QStyle::SP_FileDialogListView}},
        {"shippingbox", {"package-x-generic", QStyle::SP_DriveFDIcon}},
        {"camera", {"camera-photo", QStyle::SP_DesktopIcon}},
        {"globe", {"applications-internet", QStyle::SP_DriveNetIcon}},
        {"ellipsis", {"open-menu", QStyle::SP_TitleBarMenuButton}},
        {"sparkles", {"starred", QStyle::SP_DialogYesButton}},
        {"doc.on.doc", {"edit-copy", QStyle::SP_FileIcon}},
        {"pencil.and.square", {"document-edit", QStyle::SP_FileDialogContentsView}},
        {"tag.fill", {"tag", QStyle::SP_FileIcon}},
    };
    return table;
}

} // namespace

QIcon icon(const QString& name) {
    auto found = mappings().constFind(name);
    QStyle* style = QApplication::style();
    if (found == mappings().cend())
        return style->standardIcon(QStyle::SP_FileIcon);
    return QIcon::fromTheme(QLatin1String(found->theme), style->standardIcon(found->fallback));
}

} // namespace Symbols
