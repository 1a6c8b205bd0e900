#include "shell/TrashConfirmation.h"

#include "platform/ByteFormat.h"
#include "platform/Paths.h"

namespace corvane {
namespace {

// The plan's items in its order, under their groups in the order each group first appears.
QList<ConfirmationGroup> groupsOf(const TrashPlan& plan) {
    QList<ConfirmationGroup> groups;
    for (const QString& url : plan.urls()) {
        const auto label = plan.labelByURL.constFind(url);
        const bool labelled = label != plan.labelByURL.cend();
        const QString title =
            labelled ? label->group : Paths::lastComponent(Paths::parentPath(url));
        ConfirmationItem item{labelled ? label->name : Paths::lastComponent(url), url,
                              labelled ? label->sizeBytes : std::nullopt, std::nullopt};
        if (const auto frees = plan.sizeByURL.constFind(url); frees != plan.sizeByURL.cend())
            item.freesBytes = *frees;
        const auto group = std::find_if(groups.begin(), groups.end(),
                                        [&title](const auto& g) { return g.title == title; });
        if (group == groups.end())
            groups.append({title, {item}});
        else
            group->items.append(item);
    }
    return groups;
}

} // namespace

TrashQuestion TrashQuestion::about(const TrashPlan& plan) {
    const QList<QString> urls = plan.urls();
    const QString bytes = formatBytes(plan.totalBytes());
    TrashQuestion question;
    question.groups = groupsOf(plan);
    if (urls.size() == 1) {
        question.text =
            QStringLiteral("Move “%1” to the Trash?").arg(Paths::lastComponent(urls[0]));
        // What the move frees, not what the folder occupies: files it shares through hard
        // links stay where their other links are.
        question.informativeText =
            QStringLiteral("It frees %1 once the Trash is emptied. Nothing is deleted: you can put "
                           "it back from the Trash until you empty it.")
                .arg(bytes);
        return question;
    }
    question.text = QStringLiteral("Move %1 items to the Trash?").arg(urls.size());
    question.informativeText =
        QStringLiteral(
            "Together they free %1 once the Trash is emptied. Nothing is deleted: you can put them "
            "back from the Trash until you empty it.")
            .arg(bytes);
    return question;
}

ConfirmationSheet* makeTrashConfirmation(QWidget* window, const TrashQuestion& question) {
    return new ConfirmationSheet(window,
                                 {QStringLiteral("trashConfirmation"),
                                  QStringLiteral("Move to Trash"), question.text,
                                  question.informativeText, moveToTrashTitle, false},
                                 question.groups);
}

} // namespace corvane
