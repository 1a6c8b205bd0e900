#include "shell/WelcomeDialog.h"

#include "platform/Locations.h"
#include "shell/AppIcon.h"
#include "shell/ProjectFolderOffer.h"

#include <QDesktopServices>
#include <QDir>
#include <QEvent>
#include <QFileDialog>
#include <QHBoxLayout>
#include <QLabel>
#include <QPushButton>
#include <QSettings>
#include <QStackedWidget>
#include <QUrl>
#include <QVBoxLayout>

namespace corvane {

namespace {

QLabel* titleLabel(const QString& text, QWidget* parent) {
    auto* title = new QLabel(text, parent);
    QFont big = title->font();
    big.setPointSizeF(big.pointSizeF() * 1.4);
    big.setWeight(QFont::DemiBold);
    title->setFont(big);
    return title;
}

QLabel* textLabel(const QString& html, QWidget* parent) {
    auto* text = new QLabel(html, parent);
    text->setWordWrap(true);
    text->setTextFormat(Qt::RichText);
    return text;
}

// A step: its title, its words and whatever controls it adds below them.
QWidget* makeStep(const QString& objectName, const QString& title, const QString& html,
                  const QList<QWidget*>& controls = {}) {
    auto* step = new QWidget;
    step->setObjectName(objectName);
    auto* layout = new QVBoxLayout(step);
    layout->setContentsMargins(0, 0, 0, 0);
    layout->addWidget(titleLabel(title, step));
    layout->addWidget(textLabel(html, step));
    for (QWidget* control : controls) {
        control->setParent(step);
        layout->addWidget(control);
    }
    layout->addStretch(1);
    return step;
}

} // namespace

WelcomeDialog::WelcomeDialog(QWidget* parent, std::function<FullDiskAccess()> accessProbe)
    : QDialog(parent)
    , accessProbe_(std::move(accessProbe)) {
    setObjectName(QStringLiteral("welcome"));
    setWindowTitle(QStringLiteral("Welcome to Corvane Clean"));
    auto* icon = new QLabel(this);
    icon->setPixmap(appIcon().pixmap(72, 72));
    icon->setAlignment(Qt::AlignTop);

    steps_ = new QStackedWidget(this);
    steps_->addWidget(makeIntroStep());
    steps_->addWidget(makeFolderStep());
    if (accessProbe_() != FullDiskAccess::NotNeeded)
        steps_->addWidget(makeAccessStep());

    stepLabel_ = new QLabel(this);
    stepLabel_->setObjectName(QStringLiteral("stepLabel"));
    skipButton_ = new QPushButton(QStringLiteral("Not Now"), this);
    skipButton_->setObjectName(QStringLiteral("skip"));
    backButton_ = new QPushButton(QStringLiteral("Back"), this);
    backButton_->setObjectName(QStringLiteral("back"));
    forwardButton_ = new QPushButton(this);
    forwardButton_->setObjectName(QStringLiteral("forward"));
    forwardButton_->setDefault(true);
    connect(skipButton_, &QPushButton::clicked, this, &QDialog::reject);
    connect(backButton_, &QPushButton::clicked, this, &WelcomeDialog::goBack);
    connect(forwardButton_, &QPushButton::clicked, this, &WelcomeDialog::goForward);
    connect(this, &QDialog::finished, this, [] { QSettings().setValue(settingsKey, true); });

    auto* body = new QHBoxLayout;
    body->setSpacing(18);
    body->addWidget(icon);
    body->addWidget(steps_, 1);
    auto* buttons = new QHBoxLayout;
    buttons->addWidget(stepLabel_);
    buttons->addStretch(1);
    buttons->addWidget(skipButton_);
    buttons->addWidget(backButton_);
    buttons->addWidget(forwardButton_);
    auto* layout = new QVBoxLayout(this);
    layout->setContentsMargins(22, 20, 22, 16);
    layout->addLayout(body, 1);
    layout->addSpacing(10);
    layout->addLayout(buttons);
    setFixedWidth(560);
    showStep(0);
}

QWidget* WelcomeDialog::makeIntroStep() {
    return makeStep(
        QStringLiteral("introStep"), QStringLiteral("Welcome to Corvane Clean"),
        QStringLiteral(
            "<p>Corvane Clean gives back the disk space that developer tools and coding agents "
            "leave behind: dependencies, build output, caches and virtual environments that "
            "their tools can make again.</p>"
            "<p><b>What you remove goes to the Trash</b>, where you can put it back until you "
            "empty it. Only Docker objects, simulator runtimes and Ollama models are deleted "
            "for good, since they cannot go to the Trash, and each only after you confirm it "
            "once more.</p>"
            "<p>Git is asked about every project before it is offered; a project with "
            "uncommitted work keeps everything until you decide.</p>"));
}

QWidget* WelcomeDialog::makeFolderStep() {
    folderOffer_ = new ProjectFolderOffer(Locations::homeDir());
    connect(folderOffer_, &ProjectFolderOffer::folderChosen, this, &WelcomeDialog::setFolder);
    const bool offered = !folderOffer_->isEmpty();
    auto* choose = new QPushButton(offered ? QStringLiteral("Choose Another Folder…")
                                           : QStringLiteral("Choose Folder…"));
    choose->setObjectName(QStringLiteral("chooseFolder"));
    choose->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
    connect(choose, &QPushButton::clicked, this, &WelcomeDialog::chooseFolder);
    folderLabel_ = new QLabel(QStringLiteral("No folder chosen yet."));
    folderLabel_->setObjectName(QStringLiteral("folderLabel"));
    folderLabel_->setWordWrap(true);
    const QString words =
        offered ? QStringLiteral("<p>Choose the folder that holds your projects. These folders in "
                                 "your home folder look like they do; pick one and Corvane Clean "
                                 "scans it right away and shows what each project can give "
                                 "back. You can choose another folder at any time.</p>")
                : QStringLiteral("<p>Choose the folder that holds your projects. Corvane Clean "
                                 "scans it right away and shows what each project can give "
                                 "back; you can choose another folder at any time.</p>");
    return makeStep(QStringLiteral("folderStep"), QStringLiteral("Your Projects"), words,
                    {folderOffer_, choose, folderLabel_});
}

QWidget* WelcomeDialog::makeAccessStep() {
    accessLabel_ = new QLabel;
    accessLabel_->setObjectName(QStringLiteral("accessLabel"));
    accessLabel_->setWordWrap(true);
    accessButton_ = new QPushButton(QStringLiteral("Open Privacy && Security…"));
    accessButton_->setObjectName(QStringLiteral("openPrivacySettings"));
    accessButton_->setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
    connect(accessButton_, &QPushButton::clicked, this,
            [] { QDesktopServices::openUrl(QUrl(fullDiskAccessSettingsURL)); });
    QWidget* step = makeStep(
        QStringLiteral("accessStep"), QStringLiteral("Full Disk Access"),
        QStringLiteral(
            "<p>macOS keeps the data of sandboxed apps in Containers and Group Containers, "
            "which only apps with Full Disk Access may read. Without it those folders are not "
            "counted, and the Apps page shows less than the apps really use.</p>"
            "<p>Turn on Corvane Clean under Privacy &amp; Security › Full Disk Access. "
            "macOS may apply it only after Corvane Clean is quit and opened again. "
            "Corvane Clean only measures these folders; it removes nothing there on its "
            "own.</p>"),
        {accessLabel_, accessButton_});
    refreshAccess();
    return step;
}

WelcomeDialog* WelcomeDialog::present(QWidget* window) {
    auto* welcome = new WelcomeDialog(window);
    welcome->setAttribute(Qt::WA_DeleteOnClose);
    welcome->setWindowModality(Qt::WindowModal);
    welcome->open();
    return welcome;
}

bool WelcomeDialog::wasCompleted() {
    return QSettings().value(settingsKey, false).toBool();
}

int WelcomeDialog::stepCount() const {
    return steps_->count();
}

int WelcomeDialog::currentStep() const {
    return steps_->currentIndex();
}

void WelcomeDialog::goForward() {
    if (currentStep() + 1 < stepCount())
        showStep(currentStep() + 1);
    else
        accept();
}

void WelcomeDialog::goBack() {
    if (currentStep() > 0)
        showStep(currentStep() - 1);
}

void WelcomeDialog::chooseFolder() {
    auto* dialog = new QFileDialog(this, QStringLiteral("Choose the Folder of Your Projects"));
    dialog->setObjectName(QStringLiteral("folderChooser"));
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFileMode(QFileDialog::Directory);
    dialog->setOption(QFileDialog::ShowDirsOnly);
    dialog->setAcceptMode(QFileDialog::AcceptOpen);
    dialog->setLabelText(QFileDialog::Accept, QStringLiteral("Choose"));
    dialog->setDirectory(chosenFolder_.isEmpty() ? QDir::homePath() : chosenFolder_);
    dialog->setWindowModality(Qt::WindowModal);
    connect(dialog, &QFileDialog::fileSelected, this, &WelcomeDialog::setFolder);
    dialog->open();
}

void WelcomeDialog::changeEvent(QEvent* event) {
    QDialog::changeEvent(event);
    // Coming back from System Settings is the moment access may have been granted.
    if (event->type() == QEvent::ActivationChange && accessLabel_)
        refreshAccess();
}

void WelcomeDialog::showStep(int index) {
    steps_->setCurrentIndex(index);
    const bool last = index + 1 == stepCount();
    stepLabel_->setText(QStringLiteral("Step %1 of %2").arg(index + 1).arg(stepCount()));
    backButton_->setEnabled(index > 0);
    forwardButton_->setText(last ? QStringLiteral("Done") : QStringLiteral("Continue"));
    // Once the user is on the last step there is nothing left to put off.
    skipButton_->setVisible(!last);
}

void WelcomeDialog::setFolder(const QString& folder) {
    chosenFolder_ = folder;
    folderLabel_->setText(QStringLiteral("Chosen: %1").arg(QDir::toNativeSeparators(folder)));
    emit folderChosen(folder);
}

void WelcomeDialog::refreshAccess() {
    const bool granted = accessProbe_() != FullDiskAccess::Missing;
    accessLabel_->setText(
        granted ? QStringLiteral("✓ Corvane Clean has Full Disk Access.")
                : QStringLiteral("Corvane Clean does not have Full Disk Access yet."));
    accessButton_->setVisible(!granted);
}

} // namespace corvane
