#pragma once

#include <QBoxLayout>
#include <QLabel>
#include <QString>

// The few kinds of text the inspectors and the spreadsheet editor share, so
// every panel reads as one product: ink body text at 13 px, secondary notes,
// small uppercase section labels and a card header with its symbol.
namespace InspectorText {

// Plain text at `pixelSize` in `weight` and `color`.
QLabel* label(const QString& text, int pixelSize, QFont::Weight weight, const QColor& color,
              QWidget* parent = nullptr);
// 13 px ink, wrapped.
QLabel* body(const QString& text, QWidget* parent = nullptr);
// 12 px in the secondary colour, wrapped.
QLabel* note(const QString& text, QWidget* parent = nullptr);
// 11 px semibold uppercase in the secondary colour.
QLabel* section(const QString& text, QWidget* parent = nullptr);
// `pixelSize` semibold ink.
QLabel* title(const QString& text, int pixelSize, QWidget* parent = nullptr);
// The symbol drawn at `size` × `size` pixels.
QLabel* symbol(const QString& name, int size, QWidget* parent = nullptr);

// A section label above its control.
QVBoxLayout* labelled(const QString& sectionTitle, QWidget* control);

// The symbol on a faint rounded tile beside a title and, below the title, a
// subtitle label the caller keeps to update.
QHBoxLayout* header(const QString& symbolName, const QString& titleText, QLabel* subtitle,
                    int titlePixelSize = 15);

} // namespace InspectorText
