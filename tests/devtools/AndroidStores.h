#pragma once

// An Android SDK and AVD home in the fake home, shaped like what Android Studio writes.

#include "devtools/AndroidCatalog.h"
#include "platform/Locations.h"
#include "platform/TrashService.h"
#include "support/GitFixture.h"
#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QProcess>
#include <gtest/gtest.h>
#include <memory>

namespace corvane::test::android {

inline const QByteArray playImageProperties = "Pkg.Desc=System Image arm64-v8a with Google Play.\n"
                                              "Pkg.Revision=7\n"
                                              "AndroidVersion.ApiLevel=36\n"
                                              "SystemImage.Abi=arm64-v8a\n"
                                              "SystemImage.TagId=google_apis_playstore\n"
                                              "SystemImage.TagDisplay=Google Play\n";

class AndroidStore {
public:
    // A fresh SDK named by ANDROID_HOME and a fresh ".android" folder in the fake home.
    AndroidStore()
        : sdk(makeTempDir(QStringLiteral("sdk")))
        , userDir(Locations::homeDir() + QStringLiteral("/.android"))
        , avdHome(userDir + QStringLiteral("/avd")) {
        QDir(userDir).removeRecursively();
        QDir().mkpath(avdHome);
        androidHome_ = std::make_unique<ScopedEnvironment>("ANDROID_HOME", sdk);
        sdkRoot_ = std::make_unique<ScopedEnvironment>("ANDROID_SDK_ROOT", QString());
        avdHomeVariable_ = std::make_unique<ScopedEnvironment>("ANDROID_AVD_HOME", QString());
    }

    // A package folder at `relative` with its source.properties and some payload.
    QString package(const QString& relative, const QByteArray& properties,
                    qsizetype payload = 4096) const {
        const QString folder = sdk + u'/' + relative;
        writeFile(folder + QStringLiteral("/source.properties"), properties);
        writeFile(folder + QStringLiteral("/payload.bin"), QByteArray(payload, 'x'));
        return folder;
    }

    // An AVD "<name>.avd" in `folderParent` (the AVD home when empty), registered with an
    // absolute "path" or only "path.rel", booting `image` (relative to the SDK root).
    QString avd(const QString& name, const QString& image, bool relativeOnly = false,
                const QString& folderParent = {}) const {
        const QString folder = (folderParent.isEmpty() ? avdHome : folderParent) + u'/' + name +
                               QStringLiteral(".avd");
        QByteArray registration = "avd.ini.encoding=UTF-8\n";
        if (!relativeOnly)
            registration += "path=" + folder.toUtf8() + '\n';
        if (folderParent.isEmpty())
            registration += "path.rel=avd/" + name.toUtf8() + ".avd\n";
        registration += "target=android-36\n";
        writeFile(avdHome + u'/' + name + QStringLiteral(".ini"), registration);
        writeFile(folder + QStringLiteral("/config.ini"),
                  "AvdId=" + name.toUtf8() + "\nhw.device.name = pixel_8\nimage.sysdir.1 = " +
                      image.toUtf8() + "/\ntarget=android-36\n");
        writeFile(folder + QStringLiteral("/userdata-qemu.img"), QByteArray(8192, 'u'));
        return folder;
    }

    const AndroidComponent* component(const AndroidInventory& inventory, const QString& url) const {
        for (const AndroidComponent& item : inventory.components) {
            if (item.url == url)
                return &item;
        }
        ADD_FAILURE() << "not listed: " << url.toStdString();
        return nullptr;
    }
    const AndroidAVD* avdNamed(const AndroidInventory& inventory, const QString& name) const {
        for (const AndroidAVD& item : inventory.avds) {
            if (item.name == name)
                return &item;
        }
        ADD_FAILURE() << "no AVD " << name.toStdString();
        return nullptr;
    }

    // What the fake home's Trash holds, by name.
    static QStringList trashed() {
        return QDir(qEnvironmentVariable("XDG_DATA_HOME") + QStringLiteral("/Trash/files"))
            .entryList(QDir::AllEntries | QDir::NoDotAndDotDot | QDir::Hidden);
    }

    const QString sdk;
    const QString userDir;
    const QString avdHome;

private:
    std::unique_ptr<ScopedEnvironment> androidHome_;
    std::unique_ptr<ScopedEnvironment> sdkRoot_;
    std::unique_ptr<ScopedEnvironment> avdHomeVariable_;
};

// A copy of sleep named like the emulator's qemu binary, holding `file` open on descriptor 3.
class FakeEmulator {
public:
    FakeEmulator(const QString& folder, const QString& file) {
        const QString binary = folder + QStringLiteral("/qemu-system-aarch64");
        QFile::remove(binary);
        EXPECT_TRUE(QFile::copy(QStringLiteral("/bin/sleep"), binary));
        QFile::setPermissions(binary, QFile::permissions(binary) | QFile::ExeOwner);
        process_.start(
            QStringLiteral("/bin/sh"),
            {QStringLiteral("-c"), QStringLiteral("exec \"$0\" 30 3<\"$1\""), binary, file});
        EXPECT_TRUE(process_.waitForStarted());
    }
    ~FakeEmulator() {
        process_.kill();
        process_.waitForFinished();
    }

private:
    QProcess process_;
};

// A Trash that refuses everything, like a full or read-only volume.
class RefusingTrash : public PlatformTrash {
public:
    TrashMove moveToTrash(const QString&) const override {
        return TrashMove::refused(QStringLiteral("The volume is read-only."));
    }
};

} // namespace corvane::test::android
