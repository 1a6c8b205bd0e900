#include "shell/AppModels.h"
#include "shell/MainWindow.h"
#include "shell/SettingsDialog.h"
#include "shell/ShellTesting.h"
#include "shell/WelcomeDialog.h"
#include "support/FakeScan.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QAbstractSlider>
#include <QAbstractSpinBox>
#include <QAccessible>
#include <QComboBox>
#include <QLabel>
#include <QLineEdit>
#include <QListWidget>
#include <QScrollBar>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

// What a screen reader would call the control; empty when it would have nothing to say.
QString spokenName(QWidget* widget) {
    QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(widget);
    return accessible ? accessible->text(QAccessible::Name).trimmed() : QString();
}

// Whether `widget` is part of a control around it: a list's headers, a combo box's editor, the
// buttons Qt adds itself to a menu or tool bar that has run out of room.
bool isPartOfAnother(const QWidget* widget) {
    if (qobject_cast<const QScrollBar*>(widget) ||
        widget->objectName().startsWith(QLatin1String("qt_")))
        return true;
    for (const QWidget* parent = widget->parentWidget(); parent; parent = parent->parentWidget()) {
        if (qobject_cast<const QAbstractItemView*>(parent) ||
            qobject_cast<const QComboBox*>(parent))
            return true;
    }
    return false;
}

bool isControl(const QWidget* widget) {
    if (isPartOfAnother(widget))
        return false;
    return qobject_cast<const QAbstractButton*>(widget) ||
           qobject_cast<const QAbstractItemView*>(widget) ||
           qobject_cast<const QLineEdit*>(widget) || qobject_cast<const QComboBox*>(widget) ||
           qobject_cast<const QAbstractSpinBox*>(widget) ||
           qobject_cast<const QAbstractSlider*>(widget);
}

// Every control under `root` that a screen reader could not name, as "Class objectName in
// Parent" lines.
QStringList unnamedControls(QWidget* root) {
    QStringList unnamed;
    for (QWidget* widget : root->findChildren<QWidget*>()) {
        if (!isControl(widget) || !spokenName(widget).isEmpty())
            continue;
        QString where;
        for (QWidget* parent = widget->parentWidget(); parent; parent = parent->parentWidget()) {
            if (!parent->objectName().isEmpty()) {
                where = parent->objectName();
                break;
            }
        }
        unnamed.append(QString::fromLatin1(widget->metaObject()->className()) + u' ' +
                       widget->objectName() + QStringLiteral(" in ") + where);
    }
    return unnamed;
}

// Opens each page of the sidebar once, as some build their controls when first shown.
void showEveryPage(MainWindow& window) {
    for (int row = 0; row < window.sidebar()->count(); ++row) {
        window.sidebar()->setCurrentRow(row);
        QTest::qWait(20);
    }
}

class AccessibilityTest : public testing::Test {
protected:
    test::NoDeveloperTools noTools;
    test::FakeScans scans;
    AppModels models{scans.starter()};
};

} // namespace

TEST_F(AccessibilityTest, EveryControlOfEveryPageAndDialogHasAName) {
    MainWindow window(models);
    window.resize(1100, 720);
    window.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
    showEveryPage(window);
    EXPECT_EQ(unnamedControls(&window).join(u'\n'), QString()) << "the window";

    SettingsDialog settings(models.rules, models.destinations);
    EXPECT_EQ(unnamedControls(&settings).join(u'\n'), QString()) << "the settings";

    WelcomeDialog welcome;
    EXPECT_EQ(unnamedControls(&welcome).join(u'\n'), QString()) << "the welcome";
}

TEST_F(AccessibilityTest, EveryTextStaysReadableInADarkPalette) {
    const QPalette original = QApplication::palette();
    QPalette dark;
    dark.setColor(QPalette::Window, QColor(0x2b, 0x2b, 0x2b));
    dark.setColor(QPalette::WindowText, QColor(0xe8, 0xe8, 0xe8));
    dark.setColor(QPalette::Base, QColor(0x1e, 0x1e, 0x1e));
    dark.setColor(QPalette::AlternateBase, QColor(0x26, 0x26, 0x26));
    dark.setColor(QPalette::Text, QColor(0xe8, 0xe8, 0xe8));
    dark.setColor(QPalette::Button, QColor(0x3a, 0x3a, 0x3a));
    dark.setColor(QPalette::ButtonText, QColor(0xe8, 0xe8, 0xe8));
    dark.setColor(QPalette::PlaceholderText, QColor(0x9a, 0x9a, 0x9a));
    QApplication::setPalette(dark);
    {
        MainWindow window(models);
        window.resize(1100, 720);
        window.show();
        ASSERT_TRUE(QTest::qWaitForWindowExposed(&window));
        showEveryPage(window);
        QStringList hardToRead;
        for (const QLabel* label : window.findChildren<QLabel*>()) {
            if (label->text().isEmpty())
                continue;
            const QColor text = label->palette().color(label->foregroundRole());
            const QColor ground = label->palette().color(QPalette::Window);
            if (std::abs(text.lightness() - ground.lightness()) < 70)
                hardToRead.append(label->objectName() + u' ' + label->text().left(40));
        }
        EXPECT_EQ(hardToRead.join(u'\n'), QString());
        window.showOverview();
        QTest::qWait(300);
        test::saveScreenshot(window, s("window-dark"));
    }
    QApplication::setPalette(original);
}
