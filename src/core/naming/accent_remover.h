#pragma once

#include <QMutex>
#include <QString>

#include <memory>

// Takes the accents off Latin letters ("café" to "cafe", "Nguyễn" to
// "Nguyen") and spells the Latin letters that have no accent to take off in
// plain ASCII ("Æ" to "AE", "ß" to "ss", "Ł" to "L"). Other scripts keep
// their letters and marks: a Greek tonos, the breve of a Cyrillic "й" or the
// voicing mark of a Japanese "が" make another letter, not an accent.
class AccentRemover {
public:
    AccentRemover();
    ~AccentRemover();
    AccentRemover(const AccentRemover&) = delete;
    AccentRemover& operator=(const AccentRemover&) = delete;

    // Safe to call from several threads at once.
    QString removed(const QString& text) const;

private:
    struct Transliterator;
    std::unique_ptr<Transliterator> transliterator;
    // One ICU transliterator must not run on two threads at once.
    mutable QMutex mutex;
};
