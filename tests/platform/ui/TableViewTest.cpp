#include "platform/ui/TableView.h"

#include <QApplication>
#include <QClipboard>
#include <QScrollBar>
#include <QTest>

#include <gtest/gtest.h>

namespace platform {
namespace {

class Source final : public TableViewDataSource {
  public:
    std::int64_t numberOfRowsInTableView(TableView*) override { return rows; }
    QString tableViewObjectValueForTableColumnRow(TableView*, const TableColumn& column,
                                                  std::int64_t row) override {
        ++asked;
        if (!text.isEmpty()) return text;
        return column.identifier() + QString::number(row);
    }
    QString text;  // of every cell; empty for the column's name and the row's number
    std::int64_t rows = 0;
    int asked = 0;
};

class Table : public testing::Test {
  protected:
    Table() {
        table.setColumns({QStringLiteral("name:Title:200"), QStringLiteral("artist:Artist")});
        table.resize(400, 330);
        source.rows = 100'000;
        table.setDataSource(&source);
        table.show();
        QApplication::processEvents();
    }
    Source source;
    TableView table;
};

TEST_F(Table, OnlyWhatIsSeenIsAskedFor) {
    table.grab();
    EXPECT_GT(source.asked, 0);
    const int rowsSeen = table.viewport()->height() / table.rowHeight(0) + 2;
    EXPECT_EQ(table.model()->index(99'999, 1).data().toString(), QStringLiteral("artist99999"));
    // Wherever it is scrolled to, 100,000 rows cost what those in sight do.
    for (const double part : {0.0, 0.3, 0.7, 1.0}) {
        QScrollBar* const bar = table.verticalScrollBar();
        source.asked = 0;
        bar->setValue(static_cast<int>(part * bar->maximum()));
        table.grab();
        EXPECT_GT(source.asked, 0);
        EXPECT_LE(source.asked, 2 * rowsSeen) << part;
    }
}

TEST_F(Table, SelectionAndScrollPositionOutliveAReload) {
    table.verticalScrollBar()->setValue(5000);
    table.selectRow(3);
    table.verticalScrollBar()->setValue(5000);
    table.reloadData();
    EXPECT_EQ(table.selectedRow(), 3);
    EXPECT_EQ(table.verticalScrollBar()->value(), 5000);
    source.rows = 3;
    table.reloadData();
    EXPECT_EQ(table.selectedRow(), -1);
    source.rows = 0;
    table.reloadData();
    EXPECT_EQ(table.selectedRow(), -1);
}

TEST_F(Table, TheMarkedRowIsRevealedUnlessTheUserHasScrolled) {
    table.setRowMarker([](std::int64_t row) { return row == 70'000 || row == 50'000; });
    const auto seen = [this](int row) {
        return table.viewport()->rect().intersects(table.visualRect(table.model()->index(row, 0)));
    };
    const auto comeOnShow = [this] {
        table.hide();
        table.show();
    };
    comeOnShow();
    EXPECT_TRUE(seen(70'000));
    EXPECT_EQ(table.selectedRow(), -1);
    table.verticalScrollBar()->triggerAction(QAbstractSlider::SliderToMinimum);
    comeOnShow();
    EXPECT_TRUE(seen(0));
    table.markDidMove();
    EXPECT_TRUE(seen(0));
    comeOnShow();
    EXPECT_TRUE(seen(70'000));
    for (const auto& [key, row] : {std::pair(Qt::Key_Home, 0), {Qt::Key_End, 99'999}}) {
        QTest::keyClick(&table, key);
        EXPECT_EQ(table.selectedRow(), row);
        EXPECT_TRUE(seen(row));
    }
    comeOnShow();
    EXPECT_FALSE(seen(70'000));
    table.revealMarkedRow();
    EXPECT_TRUE(seen(70'000));
    EXPECT_EQ(table.selectedRow(), 70'000);
    QTest::keyClick(&table, Qt::Key_C, Qt::ControlModifier);
    EXPECT_EQ(QGuiApplication::clipboard()->text(), QStringLiteral("name70000"));
}

TEST_F(Table, EveryColumnStaysInSight) {
    const auto lastColumn = [this] { return table.viewport()->width() - table.columnWidth(0); };
    EXPECT_EQ(table.columnWidth(0), 200);
    table.resize(230, 330);
    EXPECT_GE(lastColumn(), 60);
    table.resize(400, 330);
    EXPECT_EQ(table.columnWidth(0), 200);
}

// How many rows of a cell's picture the ink in those columns spans.
int inkHeight(const QImage& cell, int left, int width) {
    int first = cell.height();
    int last = -1;
    for (int y = 0; y < cell.height(); ++y) {
        for (int x = left; x < left + width; ++x) {
            if (qGray(cell.pixel(x, y)) > 128) continue;
            first = qMin(first, y);
            last = y;
        }
    }
    return last - first + 1;
}

TEST_F(Table, CutTextEndsWhereItsReadingEnds) {
    table.setStyleSheet(QStringLiteral("color: black; background: white"));
    source.rows = 1;
    // The rightmost and the leftmost few points that hold ink, of a cell that is too narrow.
    const auto ends = [this](const QString& text) {
        source.text = text;
        table.reloadData();
        const QImage cell =
            table.viewport()->grab(table.visualRect(table.model()->index(0, 0))).toImage();
        const auto inked = [&cell](int x) { return inkHeight(cell, x, 1) > 0; };
        int left = 0;
        int right = cell.width() - 1;
        while (left < right && !inked(left))
            ++left;
        while (left < right && !inked(right))
            --right;
        return std::pair(inkHeight(cell, left, 8), inkHeight(cell, right - 7, 8));
    };
    const auto [latinLeft, latinRight] = ends(QString(60, QLatin1Char('H')));
    EXPECT_GT(latinLeft, 2 * latinRight);
    const auto [hebrewLeft, hebrewRight] = ends(QString(60, QChar(0x5D0)));
    EXPECT_GT(hebrewRight, 2 * hebrewLeft);
    EXPECT_GT(hebrewLeft, 0);
}

}  // namespace
}  // namespace platform
