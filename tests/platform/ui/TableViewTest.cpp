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
        return column.identifier() + QString::number(row);
    }
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

}  // namespace
}  // namespace platform
