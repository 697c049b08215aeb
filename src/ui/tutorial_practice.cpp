#include "ui/tutorial_practice.h"

#include "core/mapping/mapping_parser.h"
#include "core/naming/filename.h"
#include "core/naming/recipe.h"

#include <algorithm>

QStringList TutorialPractice::sampleNames() {
    return {QStringLiteral("Brand deck v7.pdf"), QStringLiteral("IMG_8492.jpg"),
            QStringLiteral("Logo Final FINAL.png")};
}

QString TutorialPractice::spreadsheetSample() {
    return QStringLiteral("old_name,new_name\n"
                          "Logo Final FINAL.png,north-logo.png\n"
                          "Brand deck v7.pdf,north-deck.pdf\n"
                          "IMG_8492.jpg,north-photo.jpg");
}

QStringList TutorialPractice::proposedNames() const {
    const QStringList samples = sampleNames();
    QStringList names;
    if (method == RenameMode::rules) {
        RenameRules rules = Recipe::builtIn().front().rules;
        rules.baseName = projectName;
        for (qsizetype index = 0; index < samples.size(); ++index)
            names.append(rules.filename(samples[index], index));
        return names;
    }
    const MappingDocument document =
        MappingParser::parse(spreadsheetSample().toUtf8(), MappingFormat::automatic);
    for (const QString& sample : samples) {
        auto entry = std::find_if(document.entries.cbegin(), document.entries.cend(),
                                  [&](const MappingEntry& e) { return e.oldName == sample; });
        // A sample that no row names keeps its name, as a file would that the
        // spreadsheet leaves out.
        names.append(entry == document.entries.cend() ? sample : entry->newName);
    }
    return names;
}

std::optional<QString> TutorialPractice::problem() const {
    if (method == RenameMode::rules && projectName.trimmed().isEmpty())
        return QStringLiteral("Enter a project name to try this recipe.");
    for (const QString& name : proposedNames()) {
        if (auto problem = Filename::problem(name))
            return problem;
    }
    return std::nullopt;
}
