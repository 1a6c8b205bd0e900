#include "devtools/AIModelStores.h"
#include "shell/AIModelsView.h"
#include "shell/AppModels.h"
#include "shell/ItemContextMenu.h"
#include "shell/ShellTesting.h"
#include "support/FakeScan.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QMenu>
#include <QPainter>
#include <QScopeGuard>
#include <QTreeWidget>
#include <gtest/gtest.h>

using namespace corvane;
using test::s;

namespace {

// The row of the model `id`, under whichever heading.
QTreeWidgetItem* rowOf(const QTreeWidget& tree, const QString& id) {
    for (int top = 0; top < tree.topLevelItemCount(); ++top) {
        QTreeWidgetItem* heading = tree.topLevelItem(top);
        for (int row = 0; row < heading->childCount(); ++row) {
            if (heading->child(row)->data(0, Qt::UserRole).toString() == id)
                return heading->child(row);
        }
    }
    return nullptr;
}

// Saves the page with `menu` open beside the row it was asked for at `point`.
void saveWithMenu(QTreeWidget& tree, QWidget& page, QMenu& menu, const QPoint& point,
                  const QString& name) {
    QPixmap shot = page.grab();
    QPainter painter(&shot);
    painter.drawPixmap(tree.viewport()->mapTo(&page, point), menu.grab());
    painter.end();
    test::savePicture(shot, name);
}

} // namespace

// A model folder marked Keep from its row's menu shows "Kept" at once, loses its tick and can't
// be ticked again; the menu then offers to take the mark off.
TEST(KeptRowsTest, KeepFromTheContextMenuShowsTheRowKeptAndNeverTicked) {
    const QString hub = test::makeTempDir(s("hub"));
    const test::ScopedEnvironment cache("HF_HUB_CACHE", hub);
    const test::ScopedEnvironment ollama("OLLAMA_MODELS", hub + s("/no-ollama"));
    const QString whisper = test::ai::writeHubRepo(hub, s("models--openai--whisper-tiny"),
                                                   {{s("model.safetensors"), s("5a5a")}});
    test::ai::writeHubRepo(hub, s("models--google--gemma-2b"), {{s("model.safetensors"), s("6b")}});
    const auto unkeep = qScopeGuard([&] { KeepStore().remove(whisper); });
    test::FakeScans scans;
    AppModels models{scans.starter()};
    AIModelsView view(models.aiModels);
    ItemContextMenu* menus = ItemContextMenu::of(*view.tree());
    ASSERT_NE(menus, nullptr);
    menus->setKeepSession(models.session);
    view.resize(1000, 480);
    view.show();
    ASSERT_TRUE(QTest::qWaitForWindowExposed(&view));
    const QString id = s("huggingFace:openai/whisper-tiny");
    ASSERT_TRUE(
        QTest::qWaitFor([&] { return rowOf(*view.tree(), id) != nullptr; }, test::patience));
    models.aiModels.setSelected(id, true);
    ASSERT_TRUE(models.aiModels.selectedIDs().contains(id));

    const QPoint point = view.tree()->visualItemRect(rowOf(*view.tree(), id)).center();
    std::unique_ptr<QMenu> menu = menus->menuAt(point);
    ASSERT_NE(menu, nullptr);
    QStringList entries;
    for (const QAction* action : menu->actions()) {
        if (!action->isSeparator())
            entries.append(action->objectName());
    }
    EXPECT_EQ(entries, QStringList({s("revealAction"), s("copyPathAction"),
                                    s("openInTerminalAction"), s("keepAction")}));
    menu->popup(view.tree()->viewport()->mapToGlobal(point));
    ASSERT_TRUE(QTest::qWaitForWindowExposed(menu.get()));
    saveWithMenu(*view.tree(), view, *menu, point, s("context-menu-keep"));
    menu->findChild<QAction*>(s("keepAction"))->trigger();
    menu->close();

    // The page shows the mark as soon as the session has it.
    QTreeWidgetItem* kept = nullptr;
    ASSERT_TRUE(QTest::qWaitFor(
        [&] {
            kept = rowOf(*view.tree(), id);
            return kept && kept->text(0).endsWith(s(" — Kept"));
        },
        test::patience));
    EXPECT_FALSE(kept->flags() & Qt::ItemIsUserCheckable);
    EXPECT_EQ(kept->checkState(0), Qt::Unchecked);
    EXPECT_TRUE(models.aiModels.selectedIDs().isEmpty());
    models.aiModels.setSelected(id, true);
    EXPECT_TRUE(models.aiModels.selectedIDs().isEmpty());
    const QTreeWidgetItem* other = rowOf(*view.tree(), s("huggingFace:google/gemma-2b"));
    ASSERT_NE(other, nullptr);
    EXPECT_TRUE(other->flags() & Qt::ItemIsUserCheckable);
    EXPECT_FALSE(other->text(0).contains(s("Kept")));
    EXPECT_EQ(menus->menuAt(point)->findChild<QAction*>(s("keepAction"))->text(),
              s("Don't Keep Folder"));
    test::saveScreenshot(view, s("kept-row"));
}
