// Runs one engine operation in a process of its own, so tests can interrupt it
// at a real system call and look at what a crash there leaves behind.
//
//   engine_driver JOURNAL execute PATH=NEWNAME...   (in batch order)
//   engine_driver JOURNAL undo | recover
//
// Exit 0 on success; 1 with the failure's sentence on standard error. What
// recovery tells the person besides goes to standard error too.

#include "core/base/rename_failure.h"
#include "core/batch/file_record.h"
#include "core/engine/rename_engine.h"

#include <QCoreApplication>
#include <QTextStream>

int main(int argc, char** argv) {
    QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    QTextStream errors(stderr);
    const QString operation = arguments.value(2);
    if (!QStringList{"execute", "undo", "recover"}.contains(operation)) {
        errors << "usage: engine_driver JOURNAL execute|undo|recover [PATH=NEWNAME...]\n";
        return 2;
    }
    try {
        RenameEngine engine(arguments[1]);
        if (operation == "execute") {
            QList<RenameIntent> intents;
            for (const QString& pair : arguments.mid(3)) {
                auto equals = pair.lastIndexOf('=');
                intents.append({FileRecord::make(QUrl::fromLocalFile(pair.left(equals))),
                                pair.mid(equals + 1)});
            }
            engine.execute(intents, 5000);
        } else if (operation == "undo") {
            engine.undo();
        } else {
            for (const QString& note : engine.recover().value_or(QStringList()))
                errors << note << '\n';
        }
    } catch (const RenameFailure& failure) {
        errors << failure.message << '\n';
        return 1;
    }
    return 0;
}
