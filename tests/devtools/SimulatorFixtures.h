#pragma once

// Outputs of simctl and xcodebuild as Xcode prints them, trimmed to the cases that matter: a
// legacy download, a disk image, one bundled with Xcode (not deletable), an unusable image that
// lacks every identifier, two iOS 18.0 images sharing one runtime identifier, and a visionOS
// image (platform "xrsimulator") without a size.

#include "support/TestEnvironment.h"

#include <QByteArray>
#include <QString>

namespace corvane::test::simfixtures {

inline const QString iOS13 = QStringLiteral("2A6068A0-7FCF-4DB9-964D-21145EB98498");
inline const QString watchOS9 = QStringLiteral("6DE6B631-9439-4737-A65B-73F675EB77D1");
inline const QString bundledIOS15 = QStringLiteral("91B92361-CD02-4AF7-8DFE-DE8764AA949F");
inline const QString unusable = QStringLiteral("820783CB-C389-4006-B2D2-D063F3FD10A1");
inline const QString iOS18 = QStringLiteral("40C50016-ECEE-439C-A27D-6F55716AD2F6");
inline const QString iOS18Patch = QStringLiteral("5B0C1D7E-2F3A-4B8C-9D0E-1F2A3B4C5D6E");
inline const QString visionOS2 = QStringLiteral("7F1A2B3C-4D5E-4F60-8172-93A4B5C6D7E8");

inline const QString bootedIPhone11 = QStringLiteral("573D4A53-D1EC-48CA-A554-8DF7A94EFFBD");
inline const QString iPhone11Pro = QStringLiteral("CB23E7F5-27DA-4290-9C1E-C641F0592BAF");
inline const QString unavailableSE = QStringLiteral("19964F56-50A4-43F8-853D-0DF7322F1F0C");
inline const QString iPhone16 = QStringLiteral("A1B2C3D4-E5F6-4789-8ABC-DEF012345678");

inline constexpr const char* runtimesHead = R"json({
  "2A6068A0-7FCF-4DB9-964D-21145EB98498" : {
    "build" : "17A844",
    "deletable" : true,
    "identifier" : "2A6068A0-7FCF-4DB9-964D-21145EB98498",
    "kind" : "Legacy Download",
    "lastUsedAt" : "2022-09-24T02:57:33Z",
    "path" : "\/Library\/Developer\/CoreSimulator\/Profiles\/Runtimes\/iOS 13.1.simruntime",
    "platformIdentifier" : "com.apple.platform.iphonesimulator",
    "runtimeBundlePath" : "\/Library\/Developer\/CoreSimulator\/Profiles\/Runtimes\/iOS 13.1.simruntime",
    "runtimeIdentifier" : "com.apple.CoreSimulator.SimRuntime.iOS-13-1",
    "signatureState" : "Unknown",
    "sizeBytes" : 6355320832,
    "state" : "Ready",
    "version" : "13.1"
  },
)json";

// Everything but the iOS 13.1 image: what the listing shows once that one is gone.
inline constexpr const char* runtimesTail = R"json(  "6DE6B631-9439-4737-A65B-73F675EB77D1" : {
    "build" : "20R362",
    "deletable" : true,
    "identifier" : "6DE6B631-9439-4737-A65B-73F675EB77D1",
    "kind" : "Disk Image",
    "mountPath" : "\/Library\/Developer\/CoreSimulator\/Volumes\/watchOS_20R362",
    "path" : "\/Library\/Developer\/CoreSimulator\/Images\/6DE6B631-9439-4737-A65B-73F675EB77D1.dmg",
    "platformIdentifier" : "com.apple.platform.watchsimulator",
    "runtimeIdentifier" : "com.apple.CoreSimulator.SimRuntime.watchOS-9-0",
    "signatureState" : "Verified",
    "sizeBytes" : 3604135917,
    "state" : "Ready",
    "version" : "9.0"
  },
  "91B92361-CD02-4AF7-8DFE-DE8764AA949F" : {
    "build" : "19F70",
    "deletable" : false,
    "identifier" : "91B92361-CD02-4AF7-8DFE-DE8764AA949F",
    "kind" : "Bundled with Xcode",
    "path" : "\/Applications\/Xcode-13.4.1.app\/Contents\/Developer\/Platforms\/iPhoneOS.platform\/Library\/Developer\/CoreSimulator\/Profiles\/Runtimes\/iOS.simruntime",
    "platformIdentifier" : "com.apple.platform.iphonesimulator",
    "runtimeIdentifier" : "com.apple.CoreSimulator.SimRuntime.iOS-15-5",
    "signatureState" : "Unknown",
    "sizeBytes" : 3310809088,
    "state" : "Ready",
    "version" : "15.5"
  },
  "820783CB-C389-4006-B2D2-D063F3FD10A1" : {
    "deletable" : true,
    "identifier" : "820783CB-C389-4006-B2D2-D063F3FD10A1",
    "kind" : "Disk Image",
    "path" : "\/Library\/Developer\/CoreSimulator\/Images\/Inbox\/820783CB-C389-4006-B2D2-D063F3FD10A1.dmg",
    "signatureState" : "Missing",
    "sizeBytes" : 5304795932,
    "state" : "Unusable",
    "unusableErrorDetail" : "Error Domain=SimDiskImageErrorDomain Code=3 \"Missing Signature\" UserInfo={NSLocalizedDescription=Missing Signature, unusableErrorDetail=}",
    "unusableErrorMessage" : "Missing Signature",
    "unusableSubstate" : "Missing Signature"
  },
  "40C50016-ECEE-439C-A27D-6F55716AD2F6" : {
    "build" : "22A3351",
    "deletable" : true,
    "identifier" : "40C50016-ECEE-439C-A27D-6F55716AD2F6",
    "kind" : "Disk Image",
    "parentIdentifier" : "81A82E90-ACDD-47C8-A3B1-A93E7FC76A93",
    "platformIdentifier" : "com.apple.platform.iphonesimulator",
    "runtimeIdentifier" : "com.apple.CoreSimulator.SimRuntime.iOS-18-0",
    "signatureState" : "Verified",
    "sizeBytes" : 8800000000,
    "state" : "Ready",
    "supportedArchitectures" : [ "arm64" ],
    "version" : "18.0"
  },
  "5B0C1D7E-2F3A-4B8C-9D0E-1F2A3B4C5D6E" : {
    "build" : "22A3370",
    "deletable" : true,
    "identifier" : "5B0C1D7E-2F3A-4B8C-9D0E-1F2A3B4C5D6E",
    "kind" : "Cryptex Disk Image",
    "platformIdentifier" : "com.apple.platform.iphonesimulator",
    "runtimeIdentifier" : "com.apple.CoreSimulator.SimRuntime.iOS-18-0",
    "signatureState" : "Verified",
    "sizeBytes" : 8900000000,
    "state" : "Ready",
    "version" : "18.0"
  },
  "7F1A2B3C-4D5E-4F60-8172-93A4B5C6D7E8" : {
    "build" : "22N895",
    "deletable" : true,
    "identifier" : "7F1A2B3C-4D5E-4F60-8172-93A4B5C6D7E8",
    "kind" : "Patchable Cryptex Disk Image",
    "platformIdentifier" : "com.apple.platform.xrsimulator",
    "runtimeIdentifier" : "com.apple.CoreSimulator.SimRuntime.xrOS-2-0",
    "signatureState" : "Verified",
    "state" : "Ready",
    "version" : "2.0"
  }
}
)json";

inline QByteArray runtimesJson() {
    return QByteArray(runtimesHead) + runtimesTail;
}
inline QByteArray runtimesWithoutIOS13() {
    return QByteArray("{\n") + runtimesTail;
}

inline constexpr const char* devicesJson = R"json({
  "devices" : {
    "com.apple.CoreSimulator.SimRuntime.iOS-13-1" : [
      {
        "lastBootedAt" : "2022-12-07T23:42:38Z",
        "dataPath" : "\/Users\/me\/Library\/Developer\/CoreSimulator\/Devices\/573D4A53-D1EC-48CA-A554-8DF7A94EFFBD\/data",
        "dataPathSize" : 4834729984,
        "udid" : "573D4A53-D1EC-48CA-A554-8DF7A94EFFBD",
        "isAvailable" : true,
        "logPathSize" : 1110016,
        "deviceTypeIdentifier" : "com.apple.CoreSimulator.SimDeviceType.iPhone-11",
        "state" : "Booted",
        "name" : "iPhone 11"
      },
      {
        "dataPathSize" : 13316096,
        "udid" : "CB23E7F5-27DA-4290-9C1E-C641F0592BAF",
        "isAvailable" : true,
        "deviceTypeIdentifier" : "com.apple.CoreSimulator.SimDeviceType.iPhone-11-Pro",
        "state" : "Shutdown",
        "name" : "iPhone 11 Pro"
      }
    ],
    "com.apple.CoreSimulator.SimRuntime.iOS-16-0" : [
      {
        "availabilityError" : "runtime profile not found using \"System\" match policy",
        "dataPathSize" : 13316096,
        "udid" : "19964F56-50A4-43F8-853D-0DF7322F1F0C",
        "isAvailable" : false,
        "deviceTypeIdentifier" : "com.apple.CoreSimulator.SimDeviceType.iPhone-SE-3rd-generation",
        "state" : "Shutdown",
        "name" : "iPhone SE (3rd generation)"
}
    ],
    "com.apple.CoreSimulator.SimRuntime.iOS-18-0" : [
      {
        "udid" : "A1B2C3D4-E5F6-4789-8ABC-DEF012345678",
        "name" : "iPhone 16",
        "state" : "Shutting Down",
        "isAvailable" : true,
        "dataPathSize" : 2000000000
      }
    ],
    "com.apple.CoreSimulator.SimRuntime.watchOS-9-0" : [ ],
    "watchOS 5.1" : [
      {
        "state" : "Shutdown",
        "availability" : "(available)",
        "name" : "Apple Watch Series 4 - 44mm",
        "udid" : "0D3C1B6F-9B2C-4B8E-9A51-6B1E5E1C2A11"
      }
    ]
    }
    }
)json";

// The simulator SDKs of one Xcode beside its device SDKs (a newer iphoneos must not count) and
// DriverKit listed under macosx, as older Xcodes do.
inline constexpr const char* sdksJson = R"json([
  {
    "canonicalName" : "iphoneos18.1",
    "displayName" : "iOS 18.1",
    "isBaseSdk" : true,
    "platform" : "iphoneos",
    "sdkVersion" : "18.1"
  },
  {
    "canonicalName" : "iphonesimulator17.5",
    "displayName" : "Simulator - iOS 17.5",
    "isBaseSdk" : true,
    "platform" : "iphonesimulator",
    "sdkVersion" : "17.5"
  },
  {
    "buildID" : "6EA751FE-F279-11EA-A211-1B767842A7F0",
    "canonicalName" : "iphonesimulator18.0",
    "displayName" : "Simulator - iOS 18.0",
    "isBaseSdk" : true,
    "platform" : "iphonesimulator",
    "platformPath" : "/Applications/Xcode.app/Contents/Developer/Platforms/iPhoneSimulator.platform",
    "platformVersion" : "18.0",
    "productBuildVersion" : "22A3351",
    "sdkVersion" : "18.0"
  },
  {
    "canonicalName" : "driverkit.macosx19.0",
    "displayName" : "DriverKit 19.0",
    "isBaseSdk" : true,
    "platform" : "macosx",
    "sdkVersion" : "19.0"
  },
  {
    "canonicalName" : "macosx15.0",
    "displayName" : "macOS 15.0",
    "platform" : "macosx",
    "sdkVersion" : "15.0"
  },
  {
    "canonicalName" : "watchsimulator10.0",
    "displayName" : "Simulator - watchOS 10.0",
    "platform" : "watchsimulator",
    "sdkVersion" : "10.0"
  },
  {
    "canonicalName" : "xrsimulator2.0",
    "displayName" : "Simulator - visionOS 2.0",
    "platform" : "xrsimulator",
    "sdkVersion" : "2.0"
  }
]
)json";

// Stand-ins for xcrun and xcodebuild in `dir` that print the outputs above (from files in `dir`,
// which a test may replace), log every call to `dir`/log, and make a deleted runtime vanish from
// the listing when "after-delete.json" is there. `overrides` are shell case branches tried
// before the usual answers.
inline void writeFakeXcrun(const QString& dir, const QByteArray& overrides = {}) {
    writeScript(dir + QStringLiteral("/xcrun"), "dir='" + dir.toUtf8() + "'\n" + R"sh(
echo "$*" >> "$dir/log"
case "$*" in
)sh" + overrides + R"sh(
"simctl runtime list -j") cat "$dir/runtimes.json" ;;
"simctl list devices -j") cat "$dir/devices.json" ;;
"simctl runtime delete "*)
  if [ -f "$dir/after-delete.json" ]; then cp "$dir/after-delete.json" "$dir/runtimes.json"; fi ;;
esac
)sh");
}

inline void writeFakeXcodebuild(const QString& dir) {
    writeScript(dir + QStringLiteral("/xcodebuild"), "dir='" + dir.toUtf8() + "'\n" + R"sh(
echo "xcodebuild $*" >> "$dir/log"
cat "$dir/sdks.json"
)sh");
}

// Both stand-ins with the outputs above.
inline void writeFakeTools(const QString& dir) {
    writeFile(dir + QStringLiteral("/runtimes.json"), runtimesJson());
    writeFile(dir + QStringLiteral("/devices.json"), devicesJson);
    writeFile(dir + QStringLiteral("/sdks.json"), sdksJson);
    writeFakeXcrun(dir);
    writeFakeXcodebuild(dir);
}

} // namespace corvane::test::simfixtures
