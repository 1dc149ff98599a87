// The least that a program with a window does: what any start is measured against. The window is as
// large as Pairdeck's and as bare of a title bar.

#include <QApplication>
#include <QWidget>

int main(int argc, char** argv) {
    QApplication application(argc, argv);
    QWidget window(nullptr, Qt::FramelessWindowHint);
    window.resize(1180, 522);
    window.show();
    return QApplication::exec();
}
