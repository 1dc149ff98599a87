#include "platform/ui/Button.h"
#include "platform/ui/InterfaceLoader.h"
#include "platform/ui/Slider.h"
#include "platform/ui/TextField.h"
#include "platform/ui/Window.h"

#include <QProcess>

#include <gmock/gmock.h>

namespace platform {
namespace {

class Desk : public Controller {
  public:
    Desk() {
        outlet(QStringLiteral("buttonOne"), one);
        outlet(QStringLiteral("buttonTwo"), two);
        action(QStringLiteral("press"), [this](Control* sender) { pressedBy = sender; });
    }
    void awakeFromNib() override { ++wakes; }
    bool awakesSlowly() const override { return true; }

    Button* one = nullptr;
    Button* two = nullptr;
    Control* pressedBy = nullptr;
    int wakes = 0;
};

const InterfaceClasses kClasses = {
    {}, {{QStringLiteral("Desk"), [] { return std::make_unique<Desk>(); }}}};

TEST(InterfaceLoader, AFileIncludedTwiceIsConnectedTwice) {
    Desk* made = nullptr;
    const InterfaceClasses classes = {{}, {{QStringLiteral("Desk"), [&made] {
                                                auto desk = std::make_unique<Desk>();
                                                made = desk.get();
                                                return desk;
                                            }}}};
    int wakesWhenShown = -1;
    const Interface loaded(QStringLiteral("Good"), platform::readInterfaceFiles(), classes,
                           [&](Window&) { wakesWhenShown = made->wakes; });
    ASSERT_EQ(loaded.problems(), QStringList());
    const auto* desk = static_cast<Desk*>(loaded.controller(QStringLiteral("Desk")));
    EXPECT_EQ(wakesWhenShown, 0);
    EXPECT_EQ(desk->wakes, 1);
    ASSERT_NE(desk->one, desk->two);
    desk->two->click();
    EXPECT_EQ(desk->pressedBy, desk->two);

    // A window is a target too.
    Window* window = loaded.mainWindow();
    window->makeKeyAndOrderFront();
    window->findChild<Slider*>(QStringLiteral("sliderOne"))->sendAction();
    EXPECT_FALSE(window->isVisible());

    // The focus goes through the first part, then through the second.
    QStringList order;
    const QWidget* widget = desk->one;
    for (int i = 0; i < 20 && order.size() < 4; ++i, widget = widget->nextInFocusChain()) {
        if (widget->focusPolicy() & Qt::TabFocus) order << widget->objectName();
    }
    EXPECT_THAT(order,
                testing::ElementsAre(QStringLiteral("buttonOne"), QStringLiteral("sliderOne"),
                                     QStringLiteral("buttonTwo"), QStringLiteral("sliderTwo")));
}

TEST(InterfaceLoader, GivesEachPropertyItsType) {
    const Interface loaded(QStringLiteral("Good"), readInterfaceFiles(), kClasses);
    const auto* label = loaded.mainWindow()->findChild<TextField*>(QStringLiteral("label"));
    ASSERT_TRUE(label);
    EXPECT_EQ(label->geometry(), QRect(10, 20, 30, 40));
    EXPECT_EQ(label->minimumSize(), QSize(3, 4));
    EXPECT_EQ(label->text(), QStringLiteral("a < b"));
    EXPECT_EQ(label->textFormat(), Qt::PlainText);
    EXPECT_EQ(label->alignment(), Qt::AlignRight | Qt::AlignTop);
    EXPECT_EQ(label->margin(), 5);
    EXPECT_TRUE(label->wordWrap());
    EXPECT_EQ(label->property("shares").toRectF(), QRectF(0.25, 0.5, 1, 0));
}

TEST(InterfaceLoader, EveryMistakeInAFileIsTold) {
    const Interface loaded(QStringLiteral("Wrong"), readInterfaceFiles(), kClasses);
    const QString told = loaded.problems().join(QLatin1Char('\n'));
    for (const char* mistake :
         {"no interface file Missing", ": no window", "Wrong: included in itself",
          "misspelt: unknown class Buton", "unknown controller Stranger",
          "wrongType: no outlet Desk.buttonOne", "buttonTwo: no outlet Desk.buttonTwo",
          "wrongAction: no action fly", "wrongOrder: no action fly",
          "wrongTarget: no target for Nobody.press", "sourceless: no data source",
          "wrongKeys: no such key: Fly", "wrongKeys: no such key: F1", "wrongKeys: no such key: F2",
          "wrongKeys: no such key: F3", "wrongKeys: no such key: F4", "Desk.buttonOne: unconnected",
          "Desk.buttonTwo: unconnected"}) {
        EXPECT_TRUE(told.contains(QLatin1String(mistake))) << mistake << "\n" << qPrintable(told);
    }
    EXPECT_EQ(static_cast<Desk*>(loaded.controller(QStringLiteral("Desk")))->wakes, 0);
    EXPECT_EQ(Interface(QStringLiteral("Nothing"), readInterfaceFiles(), kClasses).mainWindow(),
              nullptr);
    EXPECT_EQ(Interface(QStringLiteral("Laid"), readInterfaceFiles(), kClasses).problems(),
              QStringList{QStringLiteral("Laid: line 4: layout is not known here")});
}

TEST(InterfaceLoader, AControlThatNobodyGaveAnActionIsTold) {
    const Interface loaded(QStringLiteral("Idle"), readInterfaceFiles(), kClasses);
    EXPECT_EQ(loaded.problems(), QStringList{QStringLiteral("idle: no action ")});
    EXPECT_EQ(static_cast<Desk*>(loaded.controller(QStringLiteral("Desk")))->wakes, 1);
}

TEST(InterfaceLoader, AProgramWithMistakesInItsFilesEndsWithTheirList) {
    QProcess program;
    program.start(QStringLiteral(PROGRAM_WITH_MISTAKES), QStringList());
    ASSERT_TRUE(program.waitForFinished());
    EXPECT_EQ(program.exitStatus(), QProcess::NormalExit);
    EXPECT_EQ(program.exitCode(), 1);
    // The toolkit may have said something before.
    EXPECT_TRUE(program.readAllStandardError().endsWith("no interface file Nowhere\n"));
}

}  // namespace
}  // namespace platform
