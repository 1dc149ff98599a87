#include "platform/ui/TableView.h"

#include "platform/foundation/Path.h"
#include "platform/foundation/UserDefaults.h"
#include "platform/image/Image.h"
#include "platform/ui/FileDragging.h"
#include "platform/ui/Font.h"
#include "platform/ui/Theme.h"

#include <QAbstractTableModel>
#include <QGuiApplication>
#include <QHeaderView>
#include <QKeyEvent>
#include <QMimeData>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollBar>

#include <limits>
#include <vector>

namespace platform {

namespace {

constexpr int kRowHeight = 30;
constexpr double kCornerRadius = 8.0;

}  // namespace

class TableView::Model : public QAbstractTableModel {
  public:
    explicit Model(TableView* table) : QAbstractTableModel(table), table_(table) {}

    void setSource(TableViewDataSource* source) { source_ = source; }
    TableViewDataSource* source() const { return source_; }

    void setTableColumns(std::vector<TableColumn> columns) {
        beginResetModel();
        columns_ = std::move(columns);
        endResetModel();
    }
    const std::vector<TableColumn>& tableColumns() const { return columns_; }

    void reload() {
        beginResetModel();
        const std::int64_t rows = source_ ? source_->numberOfRowsInTableView(table_) : 0;
        rows_ =
            static_cast<int>(std::clamp<std::int64_t>(rows, 0, std::numeric_limits<int>::max()));
        endResetModel();
    }

    int rowCount(const QModelIndex& parent = {}) const override {
        return parent.isValid() ? 0 : rows_;
    }
    int columnCount(const QModelIndex& parent = {}) const override {
        return parent.isValid() ? 0 : static_cast<int>(columns_.size());
    }
    QVariant data(const QModelIndex& index, int role) const override {
        if (!source_ || index.row() >= rows_) return {};
        switch (role) {
            case Qt::DisplayRole:
                return text(columns_[static_cast<size_t>(index.column())], index.row());
            case Qt::ToolTipRole:
                if (table_->toolTipColumn_.isEmpty()) return {};
                return text(TableColumn(table_->toolTipColumn_), index.row());
            case Qt::DecorationRole:
                if (index.column() != 0 || !table_->isMarked_) return {};
                return table_->isMarked_(index.row()) ? QVariant(mark()) : QVariant();
            default:
                return {};
        }
    }
    QVariant headerData(int section, Qt::Orientation orientation, int role) const override {
        // Rows show no header, but a screen reader finds one and reads its number.
        if (orientation == Qt::Vertical) return role == Qt::DisplayRole ? section + 1 : QVariant();
        if (role == Qt::TextAlignmentRole) return int(Qt::AlignLeft | Qt::AlignVCenter);
        if (role == Qt::DisplayRole) return columns_[static_cast<size_t>(section)].title();
        return {};
    }
    Qt::ItemFlags flags(const QModelIndex& index) const override {
        return QAbstractTableModel::flags(index) | Qt::ItemIsDragEnabled;
    }
    QMimeData* mimeData(const QModelIndexList& indexes) const override {
        if (!source_ || indexes.isEmpty()) return nullptr;
        const TableColumn column(table_->fileColumn());
        return mimeDataWithPath(source_->tableViewObjectValueForTableColumnRow(
                                    table_, column, indexes.first().row()))
            .release();
    }

  private:
    QString text(const TableColumn& column, int row) const {
        return displayString(source_->tableViewObjectValueForTableColumnRow(table_, column, row));
    }

    QPixmap mark() const {
        constexpr double kSide = 16.0;  // points
        const double scale = table_->devicePixelRatioF();
        QPixmap pixmap((QSizeF(kSide, kSide) * scale).toSize());
        pixmap.setDevicePixelRatio(scale);
        pixmap.fill(Qt::transparent);
        QPainter painter(&pixmap);
        Image::imageNamed(table_->markImageName_).drawInRect(painter, QRectF(0, 0, kSide, kSide));
        return pixmap;
    }

    TableView* table_;
    TableViewDataSource* source_ = nullptr;
    std::vector<TableColumn> columns_;
    int rows_ = 0;
};

TableView::TableView(QWidget* parent) : QTableView(parent), model_(new Model(this)) {
    setModel(model_);
    setFont(systemFontOfSize(13.0));
    setSelectionBehavior(QAbstractItemView::SelectRows);
    setSelectionMode(QAbstractItemView::SingleSelection);
    setEditTriggers(QAbstractItemView::NoEditTriggers);
    setVerticalScrollMode(QAbstractItemView::ScrollPerPixel);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setShowGrid(false);
    setWordWrap(false);
    setTabKeyNavigation(false);
    setFrameShape(QFrame::NoFrame);
    setCornerButtonEnabled(false);
    // Rows of one fixed height: no row needs to be built to know where another stands.
    verticalHeader()->setSectionResizeMode(QHeaderView::Fixed);
    verticalHeader()->setDefaultSectionSize(kRowHeight);
    verticalHeader()->hide();
    horizontalHeader()->setHighlightSections(false);
    horizontalHeader()->setSectionsClickable(false);
    horizontalHeader()->setStretchLastSection(true);
}

TableView::~TableView() = default;

void TableView::setDataSource(TableViewDataSource* dataSource) {
    model_->setSource(dataSource);
    reloadData();
}

TableViewDataSource* TableView::dataSource() const {
    return model_->source();
}

void TableView::setColumns(const QStringList& columns) {
    columns_ = columns;
    std::vector<TableColumn> parsed;
    for (const QString& column : columns) {
        const QStringList parts = column.split(QLatin1Char(':'));
        parsed.emplace_back(parts.value(0), parts.value(1), parts.value(2).toInt());
    }
    model_->setTableColumns(std::move(parsed));
    for (int i = 0; i < model_->columnCount(); ++i) {
        const int width = model_->tableColumns()[static_cast<size_t>(i)].width();
        if (width > 0) setColumnWidth(i, width);
    }
}

void TableView::setFileColumn(const QString& identifier) {
    fileColumn_ = identifier;
    setDragEnabled(!identifier.isEmpty());
}

void TableView::setAutosaveName(const QString& name) {
    autosaveName_ = name;
    restoreColumnWidths();
    connect(horizontalHeader(), &QHeaderView::sectionResized, this, [this] {
        // Only the user's own hand counts, not the stretching of the last column.
        if (QGuiApplication::mouseButtons() & Qt::LeftButton) saveColumnWidths();
    });
}

void TableView::restoreColumnWidths() {
    const auto widths =
        UserDefaults::standardUserDefaults().valueOfTypeForKey<QString>(autosaveName_);
    if (!widths) return;
    const QStringList parts = widths->split(QLatin1Char(' '));
    for (int i = 0; i < qMin(model_->columnCount(), int(parts.size())); ++i) {
        const int width = parts[i].toInt();
        if (width > 0 && width < 10'000) setColumnWidth(i, width);
    }
}

void TableView::saveColumnWidths() const {
    QStringList widths;
    for (int i = 0; i < model_->columnCount(); ++i)
        widths << QString::number(columnWidth(i));
    UserDefaults::standardUserDefaults().setValueForKey(widths.join(QLatin1Char(' ')),
                                                        autosaveName_);
}

void TableView::setRowMarker(std::function<bool(std::int64_t)> isMarked) {
    isMarked_ = std::move(isMarked);
    setNeedsDisplay();
}

void TableView::reloadData() {
    const std::int64_t selected = selectedRow();
    const int scrolledTo = verticalScrollBar()->value();
    model_->reload();
    if (selected >= 0 && selected < model_->rowCount()) {
        // Not selectRow, which would scroll to the row.
        const QModelIndex index = model_->index(static_cast<int>(selected), 0);
        selectionModel()->setCurrentIndex(
            index, QItemSelectionModel::ClearAndSelect | QItemSelectionModel::Rows);
    }
    verticalScrollBar()->setValue(scrolledTo);
}

std::int64_t TableView::selectedRow() const {
    const QModelIndexList rows = selectionModel()->selectedRows();
    return rows.isEmpty() ? -1 : rows.first().row();
}

void TableView::focusInEvent(QFocusEvent* event) {
    QTableView::focusInEvent(event);
    if (!theme::showsFocus(*this)) return;
    ring_ = std::make_unique<FocusRing>(*this, kCornerRadius);
    // Whoever comes by keyboard finds a row to play or to go on from.
    if (selectedRow() < 0) selectRow(0);
}

void TableView::focusOutEvent(QFocusEvent* event) {
    QTableView::focusOutEvent(event);
    ring_.reset();
}

void TableView::keyPressEvent(QKeyEvent* event) {
    const bool isReturn = event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter;
    if (isReturn && selectedRow() >= 0) {
        sendAction();
        return;
    }
    QTableView::keyPressEvent(event);
}

void TableView::mouseDoubleClickEvent(QMouseEvent* event) {
    QTableView::mouseDoubleClickEvent(event);
    if (event->button() != Qt::LeftButton || !indexAt(event->pos()).isValid()) return;
    sendAction();
}

}  // namespace platform
