// Names typed into the preview for single files: they take the place of the
// rules' names, are judged like them, and last while the file is in the batch.

#include "app/app_model.h"

#include <QSet>

#include <algorithm>

bool AppModel::canNameByHand() const {
    return mode_ == RenameMode::rules && !batchControlsDisabled();
}

void AppModel::nameByHand(const QString& id, const QString& name) {
    if (!canNameByHand() || std::none_of(files_.cbegin(), files_.cend(),
                                         [&id](const FileRecord& file) { return file.id() == id; }))
        return;
    if (name.isEmpty())
        handNames.remove(id);
    else
        handNames.insert(id, name);
    refreshPreview();
}

bool AppModel::canResetNames() const {
    return canNameByHand() &&
           std::any_of(selection_.cbegin(), selection_.cend(),
                       [this](const QString& id) { return handNames.contains(id); });
}

void AppModel::resetSelectedNames() {
    if (!canResetNames())
        return;
    for (const QString& id : selection_)
        handNames.remove(id);
    refreshPreview();
}

void AppModel::forgetHandNamesOfRemovedFiles() {
    if (handNames.isEmpty())
        return;
    QSet<QString> kept;
    kept.reserve(files_.size());
    for (const FileRecord& file : std::as_const(files_))
        kept.insert(file.id());
    handNames.removeIf([&kept](const auto& entry) { return !kept.contains(entry.key()); });
}
