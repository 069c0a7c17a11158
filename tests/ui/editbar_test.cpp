// The tool bar "Edit" in the window.
#include "ui/windowenvironment.h"

#include "ui/editbar.h"
#include "ui/historypanel.h"
#include "ui/toolbars.h"
#include "ui/windowlayout.h"

#include <QClipboard>
#include <QColor>
#include <QTest>
#include <QToolButton>

#include <algorithm>
#include <cmath>

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new WindowEnvironment);

class EditBarTest : public WindowTest
{
protected:
    EditBar& bar() { return *m_window->toolBars().edit(); }
    QToolButton& button(const char* id)
    {
        return *qobject_cast<QToolButton*>(bar().widgetForAction(&action(id)));
    }
    QList<QToolButton*> buttons()
    {
        QList<QToolButton*> found;
        for (QAction* entry : bar().actions())
            if (!entry->isSeparator())
                found << qobject_cast<QToolButton*>(bar().widgetForAction(entry));
        return found;
    }
    const History& history() { return m_window->historyPanel().history(); }
};

// Relative luminance and contrast of WCAG 2.1.
double luminance(const QColor& color)
{
    const auto linear = [](double c) {
        return c <= 0.04045 ? c / 12.92 : std::pow((c + 0.055) / 1.055, 2.4);
    };
    return 0.2126 * linear(color.redF()) + 0.7152 * linear(color.greenF()) + 0.0722 * linear(color.blueF());
}

double contrast(const QColor& a, const QColor& b)
{
    const double x = luminance(a) + 0.05, y = luminance(b) + 0.05;
    return std::max(x, y) / std::min(x, y);
}

// How much there is of a picture.
double ink(const QImage& image)
{
    double sum = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            sum += image.pixelColor(x, y).alphaF();
    return sum;
}

} // namespace

TEST_F(EditBarTest, ItHoldsTheDocumentsAndTheCommandsOfTheEditMenu)
{
    show();
    QStringList ids;
    for (const QAction* entry : bar().actions())
        ids << (entry->isSeparator() ? QStringLiteral("-") : entry->objectName());
    EXPECT_EQ(ids, (QStringList{"filenew", "fileopen", "filesave", "-", "editundo", "editredo", "-",
                                "editcut", "editcutnew", "editcopy", "editcopyall", "editcopynew",
                                "editpaste", "editpastenew", "-", "editdel"}));
    EXPECT_TRUE(bar().isVisible());
}

TEST_F(EditBarTest, ItIsFixedToTheTopOrTheFoot)
{
    show();
    EXPECT_EQ(m_window->toolBarArea(&bar()), Qt::TopToolBarArea);
    EXPECT_FALSE(bar().isMovable());
    EXPECT_FALSE(bar().isFloatable());
    EXPECT_EQ(bar().allowedAreas(), Qt::TopToolBarArea | Qt::BottomToolBarArea);
    EXPECT_LT(bar().y(), m_window->toolBars().settings()->y());
}

TEST_F(EditBarTest, EachButtonIsAnIconWithWordsKeysAndAPlaceInTheTabOrder)
{
    show();
    QList<const QWidget*> chain;
    for (const QWidget* widget = m_window->nextInFocusChain(); widget != m_window.get();
         widget = widget->nextInFocusChain())
        chain << widget;
    for (const QToolButton* each : buttons()) {
        const std::string id = each->defaultAction()->objectName().toStdString();
        EXPECT_EQ(bar().toolButtonStyle(), Qt::ToolButtonIconOnly);
        EXPECT_FALSE(each->icon().isNull()) << id;
        EXPECT_FALSE(each->accessibleName().isEmpty()) << id;
        EXPECT_FALSE(each->accessibleName().contains(QLatin1Char('('))) << id;
        EXPECT_TRUE(each->toolTip().startsWith(each->accessibleName())) << id;
        const QString keys = each->defaultAction()->shortcut().toString(QKeySequence::NativeText);
        EXPECT_EQ(each->toolTip().endsWith(QStringLiteral("(%1)").arg(keys)), !keys.isEmpty()) << id;
        EXPECT_TRUE(each->focusPolicy() & Qt::TabFocus) << id;
        EXPECT_TRUE(chain.contains(each)) << id;
    }
    EXPECT_EQ(button("filesave").toolTip(), QStringLiteral("Save Project (Ctrl+S)"));
    EXPECT_EQ(button("editcutnew").accessibleName(), QStringLiteral("Cut to New Layer"));
}

TEST_F(EditBarTest, TheButtonsWorkAsFarAsThereIsSomethingToWorkOn)
{
    show();
    for (const QToolButton* each : buttons()) {
        const QString id = each->defaultAction()->objectName();
        EXPECT_EQ(each->isEnabled(), id == QLatin1String("filenew") || id == QLatin1String("fileopen"))
            << id.toStdString();
    }
    ASSERT_TRUE(tabs().parse(makeTone("tone.wav", 0.5)));
    const std::vector<float> before = samplesOf(*tabs().currentProject());
    EXPECT_TRUE(button("filesave").isEnabled());
    EXPECT_FALSE(button("editcut").isEnabled());
    action("selectselectall").trigger();
    QTest::mouseClick(&button("editcut"), Qt::LeftButton);
    EXPECT_EQ(history().states().last().name, QStringLiteral("Cut"));
    EXPECT_FALSE(samplesOf(*tabs().currentProject()) == before);
    QTest::mouseClick(&button("editundo"), Qt::LeftButton);
    EXPECT_TRUE(samplesOf(*tabs().currentProject()) == before);
    EXPECT_TRUE(button("editredo").isEnabled());
    EXPECT_TRUE(button("editpaste").isEnabled());
    QTest::mouseClick(&button("editpastenew"), Qt::LeftButton);
    EXPECT_EQ(history().states().last().name, QStringLiteral("Paste To New"));
}

TEST_F(EditBarTest, ItIsWorkedWithoutAMouse)
{
    show();
    ASSERT_TRUE(tabs().parse(makeTone("tone.wav", 0.5)));
    action("selectselectall").trigger();
    button("filenew").setFocus();
    const auto press = [](Qt::Key key) { QTest::keyClick(QApplication::focusWidget(), key); };
    press(Qt::Key_Right);
    EXPECT_EQ(QApplication::focusWidget(), &button("fileopen"));
    press(Qt::Key_Down);
    press(Qt::Key_Right);
    EXPECT_EQ(QApplication::focusWidget(), &button("editundo"));
    press(Qt::Key_Right);
    EXPECT_EQ(QApplication::focusWidget(), &button("editcut")) << "there is nothing to redo";
    const int64_t position = display().position();
    press(Qt::Key_Left);
    EXPECT_EQ(QApplication::focusWidget(), &button("editundo"));
    EXPECT_EQ(display().position(), position) << "arrows are the bar's while it has the focus";
    press(Qt::Key_Right);
    press(Qt::Key_Space);
    EXPECT_EQ(history().states().last().name, QStringLiteral("Cut"));
    press(Qt::Key_Tab);
    EXPECT_NE(QApplication::focusWidget(), &button("editcut")) << "Tab leads on";
    // F6 finds the bar from the views.
    m_window->setFocus();
    bool found = false;
    for (int i = 0; i < 10 && !found; ++i) {
        m_window->focusNextPanel(true);
        found = bar().isAncestorOf(QApplication::focusWidget());
    }
    EXPECT_TRUE(found);
}

TEST_F(EditBarTest, ALayoutFileKeepsItsPlaceAndWhetherItShows)
{
    show();
    QString error;
    m_window->addToolBar(Qt::BottomToolBarArea, &bar());
    bar().hide();
    ASSERT_TRUE(saveLayout(*m_window, path("foot.layout"), error)) << error.toStdString();
    show();
    EXPECT_TRUE(bar().isVisible());
    ASSERT_TRUE(loadLayout(*m_window, path("foot.layout")));
    EXPECT_FALSE(bar().isVisible());
    EXPECT_EQ(m_window->toolBarArea(&bar()), Qt::BottomToolBarArea);
    bar().show();
    EXPECT_GT(bar().mapTo(m_window.get(), QPoint()).y(), m_window->height() / 2);
}

TEST_F(EditBarTest, TheCompactViewTakesItAwayAndTheTabletMakesItLarger)
{
    show();
    m_window->toggleCompactPanels();
    EXPECT_TRUE(bar().isVisible());
    m_window->toggleCompactPanels();
    m_window->toggleCompactAll();
    EXPECT_FALSE(bar().isVisible());
    m_window->toggleCompactAll();
    EXPECT_TRUE(bar().isVisible());
    const QSize desktop = button("editcut").sizeHint();
    action("viewlayouttablet").trigger();
    EXPECT_GE(button("editcut").sizeHint().width(), 32);
    EXPECT_GT(button("editcut").sizeHint().height(), desktop.height());
    action("viewlayoutdesktop").trigger();
    EXPECT_EQ(button("editcut").sizeHint(), desktop);
}

TEST_F(EditBarTest, AllButtonsAreInSightInTheSmallestWindowInBothModes)
{
    show();
    m_window->resize(m_window->minimumSize());
    for (const char* mode : {"viewlayouttablet", "viewlayoutdesktop"}) {
        action(mode).trigger();
        QCoreApplication::processEvents();
        for (const QToolButton* each : buttons())
            EXPECT_TRUE(each->isVisible() && bar().rect().contains(each->geometry()))
                << mode << ' ' << each->accessibleName().toStdString();
    }
}

TEST_F(EditBarTest, TheIconsAreDrawnForFineScreensAndStandOutFromTheBar)
{
    // Beyond a scale of 1 Qt takes the larger drawing by itself: nothing is blown up.
    for (const char* name : {"new", "open", "save", "undo", "redo", "cut", "cutnew", "copy", "copyall",
                             "copynew", "paste", "pastenew", "delete"}) {
        const QString file = QStringLiteral(":/icons/%1%2.png").arg(QLatin1String(name));
        EXPECT_EQ(QImage(file.arg(QString())).size(), QSize(16, 16)) << name;
        EXPECT_EQ(QImage(file.arg(QStringLiteral("@2x"))).size(), QSize(32, 32)) << name;
    }
    show();
    ASSERT_TRUE(tabs().parse(makeTone("tone.wav", 0.5)));
    action("selectselectall").trigger();
    const QColor back(qApp->property("colorback").toString());
    ASSERT_TRUE(back.isValid());
    EXPECT_EQ(bar().iconSize(), QSize(16, 16));
    for (const QToolButton* each : buttons()) {
        const std::string name = each->accessibleName().toStdString();
        double best = 1;
        const QImage image = each->icon().pixmap(16, 16).toImage();
        for (int y = 0; y < image.height(); ++y)
            for (int x = 0; x < image.width(); ++x) {
                const QColor color = image.pixelColor(x, y);
                if (color.alphaF() > 0.9)
                    best = std::max(best, contrast(color, back));
            }
        EXPECT_GT(best, 4.5) << name;
        const QImage disabled = each->icon().pixmap(16, 16, QIcon::Disabled).toImage();
        EXPECT_LT(ink(disabled), 0.6 * ink(image)) << name;
        EXPECT_GT(ink(disabled), 0.2 * ink(image)) << name;
    }
}
