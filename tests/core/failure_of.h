#pragma once

#include "core/base/rename_failure.h"

#include <QString>

// The sentence a call throws, or an empty text when it succeeds.
template <typename Call> QString failureOf(Call call) {
    try {
        call();
    } catch (const RenameFailure& failure) {
        return failure.message;
    }
    return {};
}
