#pragma once

#include "platform/ui/Control.h"
#include "platform/ui/FocusRing.h"

#include <QMenu>
#include <QPointer>
#include <QString>
#include <QStringList>
#include <QTableView>

#include <cstdint>
#include <functional>
#include <memory>

namespace platform {

class TableView;

/// One column of a table. Its identifier tells the data source what the column shows.
class TableColumn {
  public:
    explicit TableColumn(const QString& identifier, const QString& title = {}, int width = 0)
        : identifier_(identifier), title_(title), width_(width) {}
    const QString& identifier() const { return identifier_; }
    const QString& title() const { return title_; }
    /// In points; 0 for the rest of the table's width.
    int width() const { return width_; }

  private:
    QString identifier_;
    QString title_;
    int width_;
};

/// Where a table pulls its rows from, as it draws them.
class TableViewDataSource {
  public:
    virtual std::int64_t numberOfRowsInTableView(TableView* tableView) = 0;
    /// The text of a cell; `row` is below the number of rows last told.
    virtual QString tableViewObjectValueForTableColumnRow(TableView* tableView,
                                                          const TableColumn& column,
                                                          std::int64_t row) = 0;

  protected:
    ~TableViewDataSource() = default;
};

/// A table that holds no data: it asks its source for each cell that it shows, when it shows it.
class TableView : public QTableView, public Control {
    Q_OBJECT
    /// The columns, each as "identifier:Title:width"; the last may leave the width out.
    Q_PROPERTY(QStringList columns READ columns WRITE setColumns)
    /// Identifier of what the data source tells as the path of the file that a row stands for. The
    /// row can then be dragged to where files go; without it rows can't be dragged.
    Q_PROPERTY(QString fileColumn READ fileColumn WRITE setFileColumn)
    /// Identifier of what a row tells when the pointer rests on it; empty for nothing.
    Q_PROPERTY(QString toolTipColumn MEMBER toolTipColumn_)
    /// The user default that keeps the widths the user gives the columns; to be set after them.
    /// They hold as far as every column stays in sight.
    Q_PROPERTY(QString autosaveName READ autosaveName WRITE setAutosaveName)
    /// Name of the bundle image that marks rows.
    Q_PROPERTY(QString markImageName MEMBER markImageName_)

  public:
    explicit TableView(QWidget* parent = nullptr);
    ~TableView() override;

    /// The source is not owned; null for an empty table.
    void setDataSource(TableViewDataSource* dataSource);
    TableViewDataSource* dataSource() const;
    void setColumns(const QStringList& columns);
    QStringList columns() const { return columns_; }
    void setFileColumn(const QString& identifier);
    QString fileColumn() const { return fileColumn_; }

    /// Asks for the number of rows again and redraws. The selected row stays selected while there
    /// is a row of that number, and the scroll position stays.
    void reloadData();

    void setAutosaveName(const QString& name);
    QString autosaveName() const { return autosaveName_; }

    /// Which rows carry the mark, asked for each row as it is drawn.
    void setRowMarker(std::function<bool(std::int64_t row)> isMarked);
    /// Draws the visible rows again.
    void setNeedsDisplay() { viewport()->update(); }
    /// Another row may carry the mark now: the rows are drawn again, and the table scrolls to the
    /// marked one when it next comes on show, unless the user has scrolled it since this call.
    void markDidMove();
    /// Scrolls to the marked row, the last where several are, and selects it; nothing without one.
    Q_INVOKABLE void revealMarkedRow();

    /// The number of the selected row; -1 when none is.
    std::int64_t selectedRow() const;

    /// A row opens `menu` (not owned), by the pointer or by the menu key, and is selected then.
    void setRowMenu(QMenu* menu) { rowMenu_ = menu; }
    /// Copies the text of the selected row's first column; the key for copying does, too.
    Q_INVOKABLE void copy();
    /// Sends the action, as Return does; nothing without a selected row.
    Q_INVOKABLE void sendDoubleAction();

    /// The action of a double click on a row, or of Return, which is the table's only one.
    void setDoubleAction(const QString& action) { setAction(action); }

  protected:
    void focusInEvent(QFocusEvent* event) override;
    void focusOutEvent(QFocusEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mouseDoubleClickEvent(QMouseEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void showEvent(QShowEvent* event) override;

  private:
    class Model;

    QModelIndex markedRow() const;
    void columnResized(int column, int oldWidth, int width);
    void fitColumns();

    Model* model_;
    QStringList columns_;
    QString fileColumn_;
    QString toolTipColumn_;
    QString autosaveName_;
    std::vector<int> columnWidths_;  // as wanted, in points; 0 for the rest of the table's width
    bool isFitting_ = false;
    bool isScrolledByHand_ = false;  // since the mark has moved
    QString markImageName_;
    std::function<bool(std::int64_t)> isMarked_;
    QPointer<QMenu> rowMenu_;
    std::unique_ptr<FocusRing> ring_;  // absent without keyboard focus
};

}  // namespace platform
