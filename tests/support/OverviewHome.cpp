#include "support/OverviewHome.h"

#include "devtools/AIModelStores.h"
#include "devtools/DockerFixtures.h"
#include "devtools/SimulatorFixtures.h"

#include <QDir>
#include <cstdlib>

namespace corvane::test {
namespace {

// `folders` folders of `files` files of 2 KB each under `root`.
void writeTree(const QString& root, int folders, int files) {
    const QByteArray payload(2048, 'c');
    for (int folder = 0; folder < folders; ++folder) {
        for (int file = 0; file < files; ++file)
            writeFile(
                QStringLiteral("%1/%2/%3").arg(root).arg(folder, 2, 16, QLatin1Char('0')).arg(file),
                payload);
    }
}

// A docker that answers each argument list from a file named after it, as Docker 28 would.
void writeDocker(const QString& folder) {
    writeScript(folder + QStringLiteral("/docker"), "dir='" + folder.toUtf8() + "'\n" + R"sh(
key=$(printf '%s' "$*" | tr -c 'A-Za-z0-9' '_')
[ -f "$dir/answers/$key" ] && cat "$dir/answers/$key"
exit 0
)sh");
    const auto answer = [&folder](const QByteArray& arguments, const QByteArray& output) {
        QByteArray key = arguments;
        for (char& c : key) {
            if (!std::isalnum(static_cast<unsigned char>(c)))
                c = '_';
        }
        writeFile(folder + QStringLiteral("/answers/") + QString::fromLatin1(key), output);
    };
    answer("version --format {{.Server.Version}}", "28.2.2\n");
    answer("system df -v --format {{json .}}", docker::report28);
    answer("image ls --no-trunc --format {{json .}}", docker::imageListing);
    answer("system df --format {{json .}}", docker::totals);
}

void writeOllama(const QString& tools, const QString& store) {
    writeScript(tools + QStringLiteral("/ollama"),
                "echo 'NAME    ID    SIZE    PROCESSOR    CONTEXT    UNTIL'\n");
    // A digest is hexadecimal: one model for each digit.
    const char digits[] = "0123456789abcdef";
    for (int model = 0; model < 16; ++model) {
        const QString layer = ai::digest(digits[model]);
        ai::writeBlob(store, layer, 200'000);
        ai::writeLibraryManifest(store, QStringLiteral("model%1").arg(model),
                                 QStringLiteral("latest"), layer, {layer});
    }
}

void writeAndroidSdk(const QString& sdk, int filesPerFolder) {
    for (int level = 20; level < 50; ++level) {
        const QString package = sdk + QStringLiteral("/platforms/android-%1").arg(level);
        writeFile(package + QStringLiteral("/source.properties"),
                  "AndroidVersion.ApiLevel=" + QByteArray::number(level) + '\n');
        writeTree(package + QStringLiteral("/data"), 4, filesPerFolder);
    }
}

} // namespace

OverviewHome::OverviewHome(const QString& home, int filesPerFolder) {
    const QString tools = makeTempDir(QStringLiteral("tools"));
    writeTree(home + QStringLiteral("/.npm/_cacache"), 200, filesPerFolder);
    writeTree(home + QStringLiteral("/go/pkg/mod/cache/download"), 50, filesPerFolder);
    for (int app = 0; app < 40; ++app)
        writeTree(home + QStringLiteral("/Library/Caches/com.example.gone%1").arg(app), 2,
                  filesPerFolder / 2);

    writeDocker(tools);
    simfixtures::writeFakeTools(tools);
    writeOllama(tools, home + QStringLiteral("/.ollama/models"));
    writeAndroidSdk(home + QStringLiteral("/Android/Sdk"), filesPerFolder / 2);

    point("CORVANE_TOOL_DOCKER", tools + QStringLiteral("/docker"));
    point("CORVANE_TOOL_XCRUN", tools + QStringLiteral("/xcrun"));
    point("CORVANE_TOOL_XCODEBUILD", tools + QStringLiteral("/xcodebuild"));
    point("CORVANE_TOOL_OLLAMA", tools + QStringLiteral("/ollama"));
    point("OLLAMA_MODELS", home + QStringLiteral("/.ollama/models"));
    point("ANDROID_HOME", home + QStringLiteral("/Android/Sdk"));
    // No Homebrew, no Flatpak and no installed apps: the leftovers above belong to nobody.
    point("CORVANE_TOOL_BREW", tools + QStringLiteral("/no-brew"));
    point("CORVANE_TOOL_FLATPAK", tools + QStringLiteral("/no-flatpak"));
    point("CORVANE_APPLICATIONS_DIR", makeTempDir(QStringLiteral("Applications")));
}

void OverviewHome::point(const char* name, const QString& value) {
    variables_.push_back(std::make_unique<ScopedEnvironment>(name, value));
}

} // namespace corvane::test
