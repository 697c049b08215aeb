#include "core/mapping/mapping_document.h"

QString MappingDiagnostic::id() const {
    return QString::number(row.value_or(0)) + QLatin1Char('|') + name.value_or(QString()) +
           QLatin1Char('|') + message;
}
