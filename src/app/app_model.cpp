#include "app/app_model.h"

#include "app/background.h"

#include "core/base/batch_limit.h"
#include "core/base/rename_failure.h"
#include "core/base/uuid_text.h"
#include "core/batch/new_files.h"
#include "core/import/file_import.h"
#include "core/naming/filename.h"

#include <nlohmann/json.hpp>

#include <QCoreApplication>
#include <QDir>
#include <QStandardPaths>

namespace {

constexpr int previewDelayMilliseconds = 120;

const char* const sampleNames[] = {
    "Brand direction FINAL.pdf", "brandmark-v6.svg",       "Business Card copy.png",
    "Color palette NEW.pdf",     "Homepage mockup 02.png", "Instagram post final.jpg",
    "Logo lockup FINAL.svg",     "Presentation v12.pdf",
};

QList<Recipe> decodedRecipes(const std::optional<QByteArray>& stored) {
    if (!stored)
        return {};
    try {
        auto recipes =
            nlohmann::ordered_json::parse(stored->constData(), stored->constData() + stored->size())
                .get<std::vector<Recipe>>();
        return QList<Recipe>(recipes.begin(), recipes.end());
    } catch (const std::exception&) {
        // A list that cannot be read is treated as empty; the next save
        // replaces it.
        return {};
    }
}

} // namespace

AppModel::Startup AppModel::Startup::fromProcess() {
    return {std::nullopt, QCoreApplication::arguments(), QProcessEnvironment::systemEnvironment()};
}

AppModel::AppModel(const PlatformServices& services, const Startup& startup, QObject* parent)
    : QObject(parent), services(services),
      demo(startup.arguments.contains(QStringLiteral("--demo"))), environment(startup.environment) {
    previewDelay.setSingleShot(true);
    // A coarse timer may fire 5% early or late; the preview is owed exactly
    // its wait, and every late millisecond shows while typing.
    previewDelay.setTimerType(Qt::PreciseTimer);
    previewDelay.setInterval(previewDelayMilliseconds);
    // Once a file leaves the batch, its name typed by hand goes with it.
    connect(this, &AppModel::filesChanged, this, &AppModel::forgetHandNamesOfRemovedFiles);
    connect(&previewDelay, &QTimer::timeout, this, [this] {
        // Rules that name or order by date wait for the dates; the reading's
        // end refreshes the preview.
        if (pendingInputs && readingProgress_ && !pendingInputs->facts.isEmpty())
            return;
        if (pendingInputs)
            startPreviewComputation(previewGeneration, std::move(*pendingInputs));
        pendingInputs.reset();
    });

    try {
        QString directory;
        if (startup.journalDirectory) {
            directory = *startup.journalDirectory;
        } else {
            QString data = QStandardPaths::writableLocation(QStandardPaths::GenericDataLocation);
            if (data.isEmpty())
                throw RenameFailure(QStringLiteral("The per-user data folder could not be found."));
            directory = data + QStringLiteral("/Tessary");
        }
        if (demo)
            directory = demoRoot(environment) + QStringLiteral("/Journal");
        engine = std::make_shared<RenameEngine>(directory);
        refreshJournal();
        assign(savedRecipes_,
               decodedRecipes(services.settings.data(QStringLiteral("savedRecipes"))),
               &AppModel::savedRecipesChanged);
        if (demo)
            makeDemo();
    } catch (const RenameFailure& failure) {
        setError(QStringLiteral("Tessary cannot start safely: ") + failure.message);
    }
}

AppModel::~AppModel() {
    previewDelay.stop();
    abandonObservation(pendingInputs);
}

QString AppModel::demoRoot(const QProcessEnvironment& environment) {
    QString root = environment.value(QStringLiteral("TESSARY_DEMO_ROOT"));
    if (root.startsWith(QLatin1Char('/')))
        return QDir::cleanPath(root);
    return QDir::cleanPath(QDir::tempPath() + QStringLiteral("/Tessary-demo"));
}

void AppModel::makeDemo() {
    QString folder = demoRoot(environment) + QLatin1Char('/') + UuidText::text(QUuid::createUuid());
    NewFiles::makeFolders(folder);
    for (const char* name : sampleNames) {
        QString sample = QString::fromUtf8(name);
        NewFiles::write(folder + QLatin1Char('/') + sample,
                        (QStringLiteral("Tessary demonstration file — ") + sample).toUtf8());
    }
    assign(files_, FileImport::collect({QUrl::fromLocalFile(folder)}, {}, batchLimit).files,
           &AppModel::filesChanged);
    readFacts();
    refreshPreview();
    apply(Recipe::builtIn().front());
    setNotice(QStringLiteral("Demo files · safe sample workspace"));
}

// Field setters ------------------------------------------------------------

void AppModel::setMode(RenameMode mode) {
    if (!assign(mode_, mode, &AppModel::modeChanged))
        return;
    if (noticedImport)
        showImportCount(*noticedImport);
    refreshPreview();
}

void AppModel::setMappingFormat(MappingFormat format) {
    if (assign(mappingFormat_, format, &AppModel::mappingFormatChanged))
        refreshPreview();
}

void AppModel::setCheckWindows(bool check) {
    if (assign(checkWindows_, check, &AppModel::checkWindowsChanged))
        refreshPreview();
}

void AppModel::setRules(const RenameRules& rules) {
    if (!assign(rules_, rules, &AppModel::rulesChanged))
        return;
    if (noticedImport)
        showImportCount(*noticedImport);
    assign(selectedRecipe_, std::optional<Recipe>(), &AppModel::selectedRecipeChanged);
    refreshPreview();
}

void AppModel::setSelection(const QSet<QString>& selection) {
    assign(selection_, selection, &AppModel::selectionChanged);
}

void AppModel::selectConflict(const QString& id) {
    QString folder;
    QString key;
    for (const PreviewRow& row : rows_) {
        if (row.id() == id) {
            folder = row.intent.source.folderPath();
            key = Filename::collisionKey(row.intent.filename);
        }
    }
    QSet<QString> colliding{id};
    for (const PreviewRow& row : rows_) {
        if (row.intent.source.folderPath() == folder &&
            Filename::collisionKey(row.intent.filename) == key)
            colliding.insert(row.id());
    }
    setSelection(colliding);
}

void AppModel::setRecipeName(const QString& name) {
    assign(recipeName_, name, &AppModel::recipeNameChanged);
}

void AppModel::setShowConfirmation(bool show) {
    assign(showConfirmation_, show, &AppModel::showConfirmationChanged);
}

void AppModel::setShowRestoreConfirmation(bool show) {
    assign(showRestoreConfirmation_, show, &AppModel::showRestoreConfirmationChanged);
}

void AppModel::setShowSaveRecipe(bool show) {
    assign(showSaveRecipe_, show, &AppModel::showSaveRecipeChanged);
}

void AppModel::setShowTutorial(bool show) {
    assign(showTutorial_, show, &AppModel::showTutorialChanged);
}

void AppModel::setShowMappingEditor(bool show) {
    assign(showMappingEditor_, show, &AppModel::showMappingEditorChanged);
}

void AppModel::setError(const std::optional<QString>& error) {
    assign(error_, error, &AppModel::errorChanged);
}

void AppModel::setNotice(const QString& notice) {
    noticedImport.reset();
    assign(notice_, notice, &AppModel::noticeChanged);
}

// Derived values -----------------------------------------------------------

QString AppModel::digitsNote() const {
    if (!rules_.sequence || files_.isEmpty())
        return QString();
    // Numbered as the names are: the start within its range, one a file, or
    // one a shot when companion files share a number.
    qsizetype numbers = files_.size();
    if (rules_.companions) {
        QSet<QString> shots;
        for (const FileRecord& file : files_) {
            const QString name = file.name();
            shots.insert(file.folderPath() + QLatin1Char('/') +
                         name.left(Filename::extensionPeriod(name)));
        }
        numbers = shots.size();
    }
    const std::int64_t last =
        std::clamp<std::int64_t>(rules_.sequenceStart, 0, 999'999'999) + numbers - 1;
    const qsizetype needed = QString::number(last).size();
    if (needed <= std::clamp<std::int64_t>(rules_.sequencePadding, 1, 9))
        return QString();
    const QString counted = rules_.companions ? (numbers == 1 ? QStringLiteral("name needs")
                                                              : QStringLiteral("names need"))
                            : numbers == 1    ? QStringLiteral("file needs")
                                              : QStringLiteral("files need");
    return QStringLiteral("%1 %2 %3 digits").arg(numbers).arg(counted).arg(needed);
}

qsizetype AppModel::changedCount() const {
    return std::count_if(rows_.begin(), rows_.end(),
                         [](const PreviewRow& row) { return !row.problem && row.changed(); });
}

qsizetype AppModel::conflicts() const {
    return std::count_if(rows_.begin(), rows_.end(),
                         [](const PreviewRow& row) { return row.problem.has_value(); });
}

bool AppModel::overLimit() const {
    return files_.size() > batchLimit;
}

bool AppModel::isFresh() const {
    return !selectedRecipe_ && rules_ == RenameRules();
}

QString AppModel::recipeTitle() const {
    if (selectedRecipe_)
        return selectedRecipe_->name;
    return isFresh() ? QStringLiteral("Start fresh") : QStringLiteral("Custom rules");
}

bool AppModel::hasModalEditor() const {
    return showMappingEditor_ || showSaveRecipe_ || showTutorial_;
}

bool AppModel::batchControlsDisabled() const {
    return busy_ || authorizingFolders_ || hasModalEditor();
}

bool AppModel::canPresentTutorial() const {
    return !batchControlsDisabled() && !hasRecovery_ && !showConfirmation_ && !error_;
}

bool AppModel::canRename() const {
    return engine && !batchControlsDisabled() && !previewing_ && !hasRecovery_ && !overLimit() &&
           !(mode_ == RenameMode::spreadsheet && !mappingDiagnostics_.isEmpty()) &&
           conflicts() == 0 && changedCount() >= 1 && rows_.size() == files_.size();
}

bool AppModel::canRestoreFound() const {
    return engine && !batchControlsDisabled() && hasRecovery_ && recoveryFailed_;
}

QStringList AppModel::missingFileNames() const {
    constexpr qsizetype listed = 10;
    QStringList names;
    for (const JournalEntry& entry : missingFiles_.first(std::min(listed, missingFiles_.size())))
        names.append(FilePath::lastComponent(entry.original));
    if (missingFiles_.size() > listed)
        names.append(QStringLiteral("and %1 more").arg(missingFiles_.size() - listed));
    return names;
}

bool AppModel::hasPreviewReport() const {
    return !batchControlsDisabled() && !previewing_ && !hasRecovery_ && !files_.isEmpty() &&
           rows_.size() == files_.size();
}

std::optional<RenameReport> AppModel::previewReport() const {
    if (!hasPreviewReport())
        return std::nullopt;
    qsizetype issues = mode_ == RenameMode::spreadsheet ? mappingDiagnostics_.size() : 0;
    return RenameReport::draft(rows_, issues, checkWindows_);
}

// Live preview -------------------------------------------------------------

void AppModel::refreshPreview() {
    // A newer generation makes every earlier result, waiting or computing,
    // arrive to nothing.
    previewDelay.stop();
    ++previewGeneration;
    assign(previewing_, true, &AppModel::previewingChanged);
    abandonObservation(pendingInputs);
    const QList<FileRecord> files = previewFiles();
    pendingInputs = PreviewInputs{files,
                                  knownFacts(files, rules_, mode_),
                                  rules_,
                                  mode_,
                                  mappingText_,
                                  mappingFormat_,
                                  checkWindows_,
                                  mappingInputError_,
                                  {},
                                  {},
                                  files != notedFiles_,
                                  handNames};
    startObservation(*pendingInputs);
    previewDelay.start();
}

void AppModel::setPreviewComputation(PreviewComputation computation) {
    previewComputation = std::move(computation);
}

void AppModel::startPreviewComputation(quint64 generation, PreviewInputs inputs) {
    // The files a new volume note is taken for, when the inputs ask for one.
    std::optional<QList<FileRecord>> noted;
    if (inputs.noteVolumes)
        noted = inputs.files;
    runInBackground(
        this,
        [compute = previewComputation, inputs = std::move(inputs)] { return compute(inputs); },
        [this, generation, noted = std::move(noted)](const PreviewResult& result) {
            if (generation != previewGeneration)
                return;
            if (noted) {
                notedFiles_ = *noted;
                assign(volumeNote_, result.volumeNote, &AppModel::volumeNoteChanged);
            }
            assign(rows_, result.rows, &AppModel::rowsChanged);
            assign(mappingDiagnostics_, result.diagnostics, &AppModel::mappingDiagnosticsChanged);
            assign(mappingCount_, result.mappingCount, &AppModel::mappingCountChanged);
            assign(previewing_, false, &AppModel::previewingChanged);
            emit previewApplied();
        });
}

void AppModel::refreshJournal() {
    bool recovery = engine && engine->hasRecovery();
    qsizetype undoable = engine ? engine->undoCount() : 0;
    std::optional<RenameReport> receipt;
    if (engine) {
        try {
            receipt = engine->completedReport();
        } catch (const RenameFailure&) {
        }
    }
    assign(hasRecovery_, recovery, &AppModel::hasRecoveryChanged);
    assign(undoCount_, undoable, &AppModel::undoCountChanged);
    assign(completedReport_, receipt, &AppModel::completedReportChanged);
    // Missing files belong to the interrupted batch; with it gone, so is the offer.
    if (!recovery) {
        assign(missingFiles_, QList<JournalEntry>(), &AppModel::missingFilesChanged);
        assign(recoveryFailed_, false, &AppModel::recoveryFailedChanged);
    }
    assign(setAsideCount_, engine ? engine->setAsideRecords().size() : qsizetype(0),
           &AppModel::setAsideCountChanged);
}

void AppModel::startFresh() {
    setMode(RenameMode::rules);
    setRules(RenameRules());
    assign(selectedRecipe_, std::optional<Recipe>(), &AppModel::selectedRecipeChanged);
}

void AppModel::showJournal() {
    if (engine && !services.urls.open(QUrl::fromLocalFile(engine->directory())))
        setNotice(QStringLiteral("No file manager could open the journal folder: ") +
                  engine->directory() + QLatin1Char('.'));
}

void AppModel::openPage(const QUrl& page) {
    if (!services.urls.open(page))
        setNotice(QStringLiteral("No browser could open this page: ") +
                  (page.isLocalFile() ? page.toLocalFile() : page.toString()) + QLatin1Char('.'));
}

void AppModel::presentTutorial() {
    if (canPresentTutorial())
        setShowTutorial(true);
}
