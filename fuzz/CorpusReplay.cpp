// Feeds every file of the given corpus folders (or single files) to the fuzz target once, in
// name order, so that the ordinary sanitizer build replays what the fuzzer once found.
#include <QByteArray>
#include <QDirIterator>
#include <QFile>
#include <QFileInfo>
#include <QStringList>
#include <algorithm>
#include <cstdint>
#include <cstdio>

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size);

namespace {

QStringList inputsOf(const QString& argument) {
    if (!QFileInfo(argument).isDir())
        return {argument};
    QStringList files;
    QDirIterator it(argument, QDir::Files | QDir::Hidden, QDirIterator::Subdirectories);
    while (it.hasNext())
        files.append(it.next());
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

int main(int argc, char** argv) {
    int replayed = 0;
    for (int i = 1; i < argc; ++i) {
        for (const QString& path : inputsOf(QString::fromLocal8Bit(argv[i]))) {
            QFile file(path);
            if (!file.open(QIODevice::ReadOnly)) {
                std::fprintf(stderr, "cannot read %s\n", qPrintable(path));
                return 1;
            }
            const QByteArray bytes = file.readAll();
            LLVMFuzzerTestOneInput(reinterpret_cast<const uint8_t*>(bytes.constData()),
                                   size_t(bytes.size()));
            ++replayed;
        }
    }
    if (replayed == 0) {
        std::fprintf(stderr, "no corpus inputs given\n");
        return 1;
    }
    std::printf("replayed %d inputs\n", replayed);
    return 0;
}
