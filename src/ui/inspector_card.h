#pragma once

#include <QFrame>
#include <QVBoxLayout>

// A rounded white card with a header, content and a footer stacked
// vertically, the shape of both inspectors.
class InspectorCard : public QFrame {
    Q_OBJECT
public:
    explicit InspectorCard(QWidget* parent = nullptr);

    QVBoxLayout* header() const { return headerLayout; }
    QVBoxLayout* content() const { return contentLayout; }
    QVBoxLayout* footer() const { return footerLayout; }

    // A scroll area in the content that takes every spare pixel of height,
    // for content that can outgrow a short window while the header and the
    // footer stay in view. Returns the layout inside it.
    QVBoxLayout* scrollingContent();

private:
    QVBoxLayout* headerLayout;
    QVBoxLayout* contentLayout;
    QVBoxLayout* footerLayout;
};
