#pragma once

// Model stores of LM Studio, Ollama and Hugging Face built in the fake home, and a stand-in
// ollama that logs its calls.

#include "support/TestEnvironment.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

namespace corvane::test::ai {

// "sha256:" followed by 64 copies of `c`.
inline QString digest(char c) {
    return QStringLiteral("sha256:") + QString(64, QLatin1Char(c));
}

inline QString blobPath(const QString& store, const QString& digest) {
    return store + QStringLiteral("/blobs/") + QString(digest).replace(u':', u'-');
}

// A blob of `bytes` bytes, so that its allocated size is not zero.
inline QString writeBlob(const QString& store, const QString& digest, int bytes = 10000) {
    const QString path = blobPath(store, digest);
    writeFile(path, QByteArray(bytes, 'x'));
    return path;
}

// A manifest at manifests/<host>/<namespace>/<model>/<tag> naming `config` and `layers`.
inline QString writeManifest(const QString& store, const QString& host, const QString& nameSpace,
                             const QString& model, const QString& tag, const QString& config,
                             const QStringList& layers, bool pretty = false) {
    QJsonArray layerArray;
    for (const QString& layer : layers)
        layerArray.append(QJsonObject{
            {QStringLiteral("mediaType"), QStringLiteral("application/vnd.ollama.image.model")},
            {QStringLiteral("digest"), layer},
            {QStringLiteral("size"), 10000}});
    const QJsonObject manifest{
        {QStringLiteral("schemaVersion"), 2},
        {QStringLiteral("config"), QJsonObject{{QStringLiteral("digest"), config}}},
        {QStringLiteral("layers"), layerArray}};
    const QString path =
        store + QStringLiteral("/manifests/") + host + u'/' + nameSpace + u'/' + model + u'/' + tag;
    writeFile(path, QJsonDocument(manifest).toJson(pretty ? QJsonDocument::Indented
                                                          : QJsonDocument::Compact));
    return path;
}

inline QString writeLibraryManifest(const QString& store, const QString& model, const QString& tag,
                                    const QString& config, const QStringList& layers) {
    return writeManifest(store, QStringLiteral("registry.ollama.ai"), QStringLiteral("library"),
                         model, tag, config, layers);
}

// An LM Studio model folder <models>/<publisher>/<name> holding `files`.
inline QString writeLMStudioModel(const QString& models, const QString& publisher,
                                  const QString& name, const QStringList& files) {
    const QString folder = models + u'/' + publisher + u'/' + name;
    for (const QString& file : files)
        writeFile(folder + u'/' + file, QByteArray(6000, 'w'));
    return folder;
}

// A Hugging Face repository folder with one blob per entry of `files` (name → blob hash) and
// snapshot links into "blobs" for each revision in `revisions`.
inline QString writeHubRepo(const QString& hub, const QString& folderName,
                            const QList<std::pair<QString, QString>>& files,
                            const QStringList& revisions = {QStringLiteral("rev1")}) {
    const QString repo = hub + u'/' + folderName;
    for (const auto& [name, hash] : files) {
        writeFile(repo + QStringLiteral("/blobs/") + hash, QByteArray(9000, 'h'));
        for (const QString& revision : revisions) {
            const QString link = repo + QStringLiteral("/snapshots/") + revision + u'/' + name;
            QDir().mkpath(QFileInfo(link).absolutePath());
            const int depth = int(name.count(u'/'));
            QString target = QStringLiteral("../../");
            for (int i = 0; i < depth; ++i)
                target += QStringLiteral("../");
            QFile::link(target + QStringLiteral("blobs/") + hash, link);
        }
    }
    writeFile(repo + QStringLiteral("/refs/main"), revisions.value(0).toUtf8());
    return repo;
}

// A stand-in ollama: logs each call's arguments as one line to `log`; `ps` fails as a stopped
// server does while the file `down` exists; `rm` fails as for an unknown model while the file
// `rmFails` exists. `show --modelfile` answers as a server whose store is OLLAMA_MODELS or the
// home's ".ollama/models" (or the one setServerStore() names) does, for the official models it
// holds there.
struct FakeOllama {
    QString folder = makeTempDir(QStringLiteral("ollama"));
    QString tool = folder + QStringLiteral("/ollama");
    QString log = folder + QStringLiteral("/calls.log");

    FakeOllama() {
        writeScript(tool, "dir='" + folder.toUtf8() + "'\n" + R"sh(
echo "$*" >> "$dir/calls.log"
command="$1"
model="$(for a in "$@"; do :; done; printf '%s' "$a")"
case "$command" in
ps)
  if [ -e "$dir/down" ]; then
    echo "Error: could not connect to ollama server, run 'ollama serve' to start it" >&2
    exit 1
  fi
  echo "NAME    ID    SIZE    PROCESSOR    CONTEXT    UNTIL"
  ;;
show)
  store="${OLLAMA_MODELS:-$HOME/.ollama/models}"
  [ -f "$dir/serverStore" ] && store=$(cat "$dir/serverStore")
  name="$model"
  case "$name" in *:*) ;; *) name="$name:latest" ;; esac
  if [ ! -f "$store/manifests/registry.ollama.ai/library/${name%%:*}/${name#*:}" ]; then
    echo "Error: model '$model' not found" >&2
    exit 1
  fi
  echo '# Modelfile generated by "ollama show"'
  echo "FROM $store/blobs/sha256-0000000000000000000000000000000000000000000000000000000000000000"
  echo 'TEMPLATE """{{ .Prompt }}"""'
  ;;
rm)
  if [ -e "$dir/rmFails" ]; then
    echo "Error: model '$model' not found" >&2
    exit 1
  fi
  echo "deleted '$model'"
  ;;
esac
)sh");
    }
    void setDown(bool down) const { setFlag(QStringLiteral("down"), down); }
    void setRemovalFails(bool fails) const { setFlag(QStringLiteral("rmFails"), fails); }
    // The store the stand-in server keeps its models in.
    void setServerStore(const QString& store) const {
        writeFile(folder + QStringLiteral("/serverStore"), store.toUtf8());
    }
    QStringList calls() const {
        QFile file(log);
        if (!file.open(QIODevice::ReadOnly))
            return {};
        return QString::fromUtf8(file.readAll()).split(u'\n', Qt::SkipEmptyParts);
    }

private:
    void setFlag(const QString& name, bool on) const {
        if (on)
            writeFile(folder + u'/' + name);
        else
            QFile::remove(folder + u'/' + name);
    }
};

// An Ollama store and a Hugging Face cache in a new temporary folder, with the stand-in ollama,
// that the app finds for as long as this lives.
struct ModelStores {
    QString root = makeTempDir(QStringLiteral("ai"));
    QString ollama = root + QStringLiteral("/ollama");
    QString hub = root + QStringLiteral("/hub");
    FakeOllama fake;
    ScopedEnvironment tool{"CORVANE_TOOL_OLLAMA", fake.tool};
    ScopedEnvironment store{"OLLAMA_MODELS", ollama};
    ScopedEnvironment cache{"HF_HUB_CACHE", hub};
};

} // namespace corvane::test::ai
