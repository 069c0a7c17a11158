// Each menu and each dialog of the window, opened and left with the keys alone; panels with something in
// them. All are kept as pictures where somebody wants to look at them, see gallery.h.
#include "display/channelrow.h"
#include "editing/datamanager.h"
#include "model/types/channelsmode.h"
#include "projectfiles/channelmappingdialog.h"
#include "projectfiles/remixerdialog.h"
#include "spectral/primitives/defaultremix.h"
#include "ui/gallery.h"
#include "ui/logdialog.h"
#include "ui/panelstest.h"

#include <QAccessible>
#include <QMenu>
#include <QMenuBar>
#include <QPainterPath>

namespace {

const auto* const environment = testing::AddGlobalTestEnvironment(new WindowEnvironment);

constexpr char logLines[] =
    "12:00:00.000 01ab INFO  Welcome to Morvane\n"
    "12:00:00.001 01ab INFO  OS: Debian GNU/Linux 12 (Kernel: linux 6.1.0) (C)\n"
    "12:00:00.002 01ab INFO  CPU: 8 threads (AVX2)\n"
    "12:00:00.003 01ab INFO  RAM: 16 GB\n"
    "12:00:00.004 01ab INFO  HDD: 100 GB (50 GB free)\n"
    "12:00:00.005 01ab INFO  SCR0: 1920x1080x24@60Hz (device pixel ratio: 1) (primary)\n"
    "12:00:00.006 01ab INFO  loading plugins...\n"
    "12:00:00.312 01ab INFO  8 Plugins loaded\n"
    "12:00:00.313 01ab INFO  initializing UI...\n"
    "12:00:00.390 01ab INFO  Ready\n";

class Gallery : public PanelsTest
{
protected:
    void SetUp() override
    {
        PanelsTest::SetUp();
        gallery::place(*m_window);
        qApp->setProperty("logspath", m_folder);
        qApp->setProperty("sessionid", QStringLiteral("Morvane 2026.01.02-03.04.05.006"));
        QFile log(sessionLogPath());
        ASSERT_TRUE(log.open(QIODevice::WriteOnly));
        log.write(logLines);
    }

    // A recording, or a tone where there are none.
    void openSomething(const char* name = "surround-5.1.flac")
    {
        const QString file = testsupport::recordingsFolder() + QLatin1Char('/') + QLatin1String(name);
        ASSERT_TRUE(tabs().parse(QFile::exists(file) ? file : makeTone("tone.wav", 2, 2)));
        settle();
    }
    void settle()
    {
        ASSERT_TRUE(testsupport::waitFor([this] {
            return display().isSettled() && !display().spectralChannels().isEmpty() &&
                   !display().spectralChannels().first()->visibleRegion().isEmpty();
        }));
    }
    // The middle of what there is.
    void select()
    {
        const Range range = front()->layers()->range();
        Selection selection;
        QPainterPath path;
        path.addEllipse(QRectF(double(range.length) * 0.3, 1500, double(range.length) * 0.4, 4000));
        selection.add(path, 0, 0, false);
        postEvent(nullptr, EventId::SelectionChange, selection, nullptr);
        record("Ellipse Selection");
    }
    void take(const QString& name) { gallery::take(*m_window, m_folder, name); }

    // --- dialogs ---

    // Every control that Tab is meant for.
    static QSet<QWidget*> stops(const QDialog& dialog)
    {
        QSet<QWidget*> found;
        for (QWidget* widget : dialog.findChildren<QWidget*>())
            if (widget->isVisibleTo(&dialog) && widget->isEnabled() && !widget->focusProxy() &&
                (widget->focusPolicy() & Qt::TabFocus) && widget->window() == &dialog)
                found << widget;
        return found;
    }
    // Somewhere from the start on, and with Tab to everything and round; with Shift+Tab as well.
    static void walk(QDialog& dialog)
    {
        QApplication::setActiveWindow(&dialog);
        ASSERT_TRUE(testsupport::waitFor([&dialog] { return dialog.isActiveWindow(); }));
        ASSERT_NE(dialog.focusWidget(), nullptr);
        QWidget* const first = dialog.focusWidget();
        const QSet<QWidget*> wanted = stops(dialog);
        for (const Qt::KeyboardModifier shift : {Qt::NoModifier, Qt::ShiftModifier}) {
            QSet<QWidget*> seen;
            for (int i = 0; i < wanted.size(); ++i) {
                seen << dialog.focusWidget();
                QTest::keyClick(dialog.focusWidget(), shift ? Qt::Key_Backtab : Qt::Key_Tab, shift);
            }
            EXPECT_EQ(dialog.focusWidget(), first) << "after as many steps as there are controls";
            for (QWidget* widget : wanted - seen)
                ADD_FAILURE() << "out of reach: " << widget->metaObject()->className() << ' '
                              << widget->objectName().toStdString();
        }
        // What a screen reader says: a name, a text, or that of the label.
        for (QWidget* widget : wanted)
            EXPECT_FALSE(QAccessible::queryAccessibleInterface(widget)->text(QAccessible::Name).isEmpty())
                << "no name: " << widget->metaObject()->className() << ' '
                << widget->objectName().toStdString();
    }
    static bool hasDefaultButton(const QDialog& dialog)
    {
        const QList<QPushButton*> buttons = dialog.findChildren<QPushButton*>();
        return std::any_of(buttons.begin(), buttons.end(),
                           [](const QPushButton* b) { return b->isDefault(); });
    }
    // A dialog that `open` shows: its picture, a walk through it, and Escape.
    void visit(const char* picture, const char* title, const std::function<void()>& open, bool walks = true)
    {
        SCOPED_TRACE(picture);
        DialogScript script;
        script.on(title, [&](QDialog& dialog) {
            QApplication::setActiveWindow(&dialog);
            EXPECT_TRUE(testsupport::waitFor([&dialog] { return dialog.isActiveWindow(); }));
            take(QStringLiteral("dialog-%1").arg(QLatin1String(picture)));
            if (walks)
                walk(dialog);
            EXPECT_TRUE(hasDefaultButton(dialog)) << "for Return";
            QTest::keyClick(&dialog, Qt::Key_Escape);
            EXPECT_FALSE(dialog.isVisible()) << "after Escape";
            if (dialog.isVisible())
                dialog.reject();
        });
        open();
        QApplication::setActiveWindow(m_window.get());
        EXPECT_TRUE(testsupport::waitFor([this] { return m_window->isActiveWindow(); }));
    }
    void visit(const char* picture, const char* title, const char* id)
    {
        ASSERT_TRUE(action(id).isEnabled()) << id;
        visit(picture, title, [this, id] { action(id).trigger(); });
    }

    // --- menus ---

    static QMenu* popup() { return qobject_cast<QMenu*>(QApplication::activePopupWidget()); }
    static bool waitForPopup(const QMenu* menu)
    {
        return testsupport::waitFor([menu] { return popup() == menu; });
    }
    static QString pictureOf(QString title)
    {
        return title.remove(QLatin1Char('&')).toLower().remove(QLatin1Char(' '));
    }
    static void escapeAll()
    {
        while (QWidget* widget = QApplication::activePopupWidget()) {
            QTest::keyClick(widget, Qt::Key_Escape);
            QCoreApplication::processEvents();
        }
    }
    // Down to the entry of each submenu, into it and back.
    void visitSubmenus(QMenu& menu, const QString& picture)
    {
        for (QAction* entry : menu.actions()) {
            if (!entry->menu() || !entry->isVisible() || !entry->isEnabled() || entry->menu()->isEmpty())
                continue;
            SCOPED_TRACE(entry->text().toStdString());
            for (int i = 0; i < menu.actions().size() && menu.activeAction() != entry; ++i)
                QTest::keyClick(&menu, Qt::Key_Down);
            ASSERT_EQ(menu.activeAction(), entry);
            QTest::keyClick(&menu, Qt::Key_Right);
            ASSERT_TRUE(waitForPopup(entry->menu()));
            take(picture + QLatin1Char('-') + pictureOf(entry->text()));
            QTest::keyClick(entry->menu(), Qt::Key_Left);
            ASSERT_TRUE(waitForPopup(&menu));
        }
    }
    void visitPopup(QMenu& menu, const QPoint& at, const QString& picture)
    {
        menu.popup(at);
        ASSERT_TRUE(waitForPopup(&menu));
        take(picture);
        escapeAll();
    }
};

} // namespace

TEST_F(Gallery, MenusAreReachedByArrowsFromTheFirstOn)
{
    openSomething();
    select();
    const QList<QAction*> entries = m_window->menuBar()->actions();
    for (const QAction* entry : entries) {
        if (!entry->isVisible())
            continue;
        SCOPED_TRACE(entry->text().toStdString());
        QMenu& menu = *entry->menu();
        m_window->menuBar()->setActiveAction(const_cast<QAction*>(entry));
        ASSERT_TRUE(waitForPopup(&menu));
        const QString picture = QStringLiteral("menu-") + pictureOf(entry->text());
        take(picture);
        visitSubmenus(menu, picture);
        escapeAll();
    }
}

TEST_F(Gallery, DialogsOfFilesAndFormats)
{
    openSomething();
    visit("newproject", "New Project", "filenew");
    visit("changeformat", "Change Format", "projectformat");
    visit("picture", "Export Picture", "fileexportpicture");
    visit("remixer", "Channel Remixer", [this] {
        RemixerDialog({ChannelsTypeAudio, 0x3f}, {ChannelsTypeAudio, 3},
                      defaultRemix(ChannelsTypeAudio, 0x3f, 3), m_window.get())
            .exec();
    });
    visit("mapping", "Channel Mapping",
          [this] { ChannelMappingDialog(ChannelsTypeAudio, 0x3f, m_window.get()).exec(); });
    visit("duplicateto", "Duplicate To...", "layerduplicateto");
    filechooser::setChooser({});
    // Of Qt's making.
    visit(
        "open", "Open Project", [this] { action("fileopen").trigger(); }, false);
    visit(
        "saveas", "Save Project", [this] { action("filesaveas").trigger(); }, false);
}

TEST_F(Gallery, DialogsOfSelectionAndTime)
{
    openSomething();
    select();
    visit("inserttime", "Insert Time", "projectinserttime");
    visit("deletetime", "Delete Time", "projectremovetime");
    visit("croptime", "Crop Time", "projectcroptime");
    visit("expand", "Expand Selection", "selectexpand");
    visit("contract", "Contract Selection", "selectcontract");
    visit("fade", "Fade Selection", "selectfade");
    visit("saveselection", "Save Selection", "selectsave");
    visit("renamelayer", "Rename Layer", "layerrename");
    {
        DialogScript script;
        script.on("Save Selection",
                  [](QDialog& dialog) { QTest::keyClick(&dialog, Qt::Key_Return); }); // by its default button
        action("selectsave").trigger();
    }
    visit("loadselection", "Load Selection", "selectload");
}

TEST_F(Gallery, DialogsOfHelp)
{
    openSomething();
    visit("shortcuts", "Keyboard Shortcuts", "helpshortcuts");
    visit("libraries", "Libraries", [this] { m_window->showLibraries(); });
    visit("log", "Logs", [this] { m_window->showLog(); });
    visit("support", "Support Info", [this] { m_window->showSupportInfo(); });
    visit("about", "About Morvane", [this] { m_window->showAbout(); });
}

TEST_F(Gallery, QuestionsAndWarnings)
{
    openSomething();
    edit();
    visit("close", "Close Project", "fileclose");
    visit("lastlayer", "Last Layer", "layerdelete");
}

TEST_F(Gallery, PanelsWithLayersGroupsAndStates)
{
    openSomething();
    select();
    for (const char* id : {"editcopynew", "layerduplicate", "layergroup", "layernewgroup", "layernewlayer"})
        action(id).trigger();
    ChannelsMode mode(front()->format().channels);
    mode.enabled.clearBit(0);
    mode.solo.setBit(mode.solo.size() - 1);
    mode.selected.clearBit(mode.selected.size() - 1);
    postEvent(nullptr, EventId::ChannelsModeChange, mode, nullptr);
    action("editundo").trigger();
    settle();
    take(QStringLiteral("panels"));
    auto* layers = m_window->findChild<QListWidget*>(QStringLiteral("layer"));
    ASSERT_NE(layers, nullptr);
    layers->setFocus();
    take(QStringLiteral("panels-focus"));
}
