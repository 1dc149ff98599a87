#include "platform/ui/Controller.h"
#include "platform/ui/TableView.h"

#include <QApplication>
#include <QKeyEvent>
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

class Player : public Controller {
  public:
    Player() {
        action(QStringLiteral("play"), [this](Control* sender) {
            played << dynamic_cast<TableView*>(sender)->selectedRow();
        });
    }
    QList<std::int64_t> played;
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

TEST_F(Table, ReturnPlaysTheSelectedRow) {
    Player player;
    table.setTarget(&player);
    table.setDoubleAction(QStringLiteral("play"));
    const auto pressReturn = [this] {
        QKeyEvent event(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
        QApplication::sendEvent(&table, &event);
    };
    table.clearSelection();
    pressReturn();
    EXPECT_TRUE(player.played.isEmpty());
    table.selectRow(7);
    pressReturn();
    EXPECT_EQ(player.played, QList<std::int64_t>{7});
}

}  // namespace
}  // namespace platform
