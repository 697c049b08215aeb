#include "app/preview_computation.h"

#include "core/mapping/mapping_parser.h"
#include "core/mapping/mapping_preview.h"
#include "core/preview/rule_preview.h"
#include "core/preview/volume_note.h"

#include <QtConcurrent/QtConcurrentRun>

PreviewResult computePreview(const PreviewInputs& inputs) {
    PreviewResult result;
    if (inputs.noteVolumes)
        result.volumeNote = VolumeNote::forFiles(inputs.files);
    if (inputs.mode == RenameMode::rules) {
        result.rows =
            RulePreview::rows(inputs.files, inputs.facts, inputs.rules, inputs.checkWindows,
                              inputs.observation.isValid() ? inputs.observation.result()
                                                           : BatchObservation::take(inputs.files),
                              inputs.handNames);
        return result;
    }
    MappingDocument document;
    if (inputs.mappingInputError)
        document.diagnostics.append({std::nullopt, std::nullopt, *inputs.mappingInputError});
    else
        document = MappingParser::parse(inputs.mappingText.toUtf8(), inputs.mappingFormat);
    MappingPreview preview = MappingPreview::compute(inputs.files, document, inputs.checkWindows);
    result.rows = preview.rows;
    result.diagnostics = preview.diagnostics;
    result.mappingCount = document.entries.size();
    return result;
}

void startObservation(PreviewInputs& inputs) {
    if (inputs.mode != RenameMode::rules || inputs.files.isEmpty())
        return;
    inputs.observationSuperseded = std::make_shared<std::atomic<bool>>(false);
    inputs.observation =
        QtConcurrent::run([files = inputs.files, superseded = inputs.observationSuperseded] {
            return BatchObservation::take(files, superseded.get());
        });
}

void abandonObservation(const std::optional<PreviewInputs>& inputs) {
    if (inputs && inputs->observationSuperseded)
        inputs->observationSuperseded->store(true);
}
