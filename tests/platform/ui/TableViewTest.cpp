#include "platform/ui/TableView.h"

#include <QApplication>
#include <QScrollBar>

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
    source.asked = 0;
    table.grab();
    EXPECT_LE(source.asked, 2 * rowsSeen);
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

}  // namespace
}  // namespace platform
