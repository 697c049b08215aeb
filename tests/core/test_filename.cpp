#include "core/filename.h"
#include "core/windows_filename.h"

#include <QTest>

class FilenameTest : public QObject {
    Q_OBJECT
private slots:
    void problem_data();
    void problem();
};

void FilenameTest::problem_data() {
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("expected");
    QTest::newRow("empty") << QString() << "The filename is empty.";
    QTest::newRow("plain") << "a.txt" << QString();
}

void FilenameTest::problem() {
    QFETCH(QString, name);
    QFETCH(QString, expected);
    QCOMPARE(Filename::problem(name).value_or(QString()), expected);
}

QTEST_GUILESS_MAIN(FilenameTest)
#include "test_filename.moc"
