#include "agents/CodexTrustStep.h"

#include "agents/TomlKey.h"
#include "agents/TomlSyntax.h"
#include "platform/Paths.h"

#include <QFileInfo>
#include <QRegularExpression>
#include <QSet>

namespace corvane {
namespace {

const QString quotedKey = QStringLiteral(R"(("(?:[^"\\\r\n]|\\.)*"|'[^'\r\n]*'))");

struct Replacement {
    qsizetype start;
    qsizetype length;
    QString text;
};

class TrustEditor {
public:
    explicit TrustEditor(const RelinkContext& context)
        : context_(context)
        , path_(Paths::joined(context.locations.codexHome, QStringLiteral("config.toml"))) {}

    void run();

private:
    void warn(const QString& problem) const {
        context_.warn(QStringLiteral("Codex project trust: ") + problem);
    }
    void readLine(QStringView line, qsizetype offset);
    void checkOtherForm(QStringView line);
    void planHeader(const QString& key, QStringView quoted, qsizetype offset);

    const RelinkContext& context_;
    QString path_;
    QString table_;
    QSet<QString> headerKeys_;
    QList<std::pair<QString, Replacement>> candidates_;
    QStringList otherForms_;
};

// Trust written as an inline table, with dotted keys or inside a bare [projects] table is
// legal but rare; rewriting those safely needs a TOML parser, so they are reported instead.
void TrustEditor::checkOtherForm(QStringView line) {
    static const QRegularExpression quoted(quotedKey);
    QRegularExpressionMatchIterator matches = quoted.globalMatch(line);
    while (matches.hasNext()) {
        const std::optional<QString> key = TomlKey::decoded(matches.next().capturedView(1));
        if (key && context_.move.rewritten(*key) && !otherForms_.contains(*key))
            otherForms_.append(*key);
    }
}

void TrustEditor::readLine(QStringView line, qsizetype offset) {
    static const QRegularExpression header(
        QStringLiteral(R"(^[ \t]*\[[ \t]*projects[ \t]*\.[ \t]*)") + quotedKey +
        QStringLiteral(R"([ \t]*\])"));
    static const QRegularExpression anyHeader(
        QStringLiteral(R"(^[ \t]*\[+[ \t]*([^\]]*?)[ \t]*\])"));
    static const QRegularExpression dottedOrInline(QStringLiteral(R"(^[ \t]*projects[ \t]*[.=])"));

    const QRegularExpressionMatch trust = header.match(line);
    if (trust.hasMatch()) {
        table_ = QStringLiteral("projects.") + trust.captured(1);
        if (const std::optional<QString> key = TomlKey::decoded(trust.capturedView(1))) {
            headerKeys_.insert(*key);
            planHeader(*key, trust.capturedView(1), offset + trust.capturedStart(1));
        }
        return;
    }
    const QRegularExpressionMatch other = anyHeader.match(line);
    if (other.hasMatch()) {
        table_ = other.captured(1);
        if (table_.startsWith(QStringLiteral("projects")))
            checkOtherForm(line);
        return;
    }
    if (table_ == QStringLiteral("projects") ||
        (table_.isEmpty() && dottedOrInline.match(line).hasMatch()))
        checkOtherForm(line);
}

void TrustEditor::planHeader(const QString& key, QStringView quoted, qsizetype offset) {
    const std::optional<QString> newKey = context_.move.rewritten(key);
    if (!newKey)
        return;
    const bool literal = quoted.front() == u'\'';
    const bool fitsLiteral =
        !newKey->contains(u'\'') && !newKey->contains(u'\n') && !newKey->contains(u'\r');
    const QString text =
        literal && fitsLiteral ? u'\'' + *newKey + u'\'' : TomlKey::basicString(*newKey);
    candidates_.append({*newKey, {offset, quoted.size(), text}});
}

void TrustEditor::run() {
    if (!QFileInfo::exists(path_))
        return;
    QString problem;
    const std::optional<QString> text = RelinkFiles::readText(path_, problem);
    if (!text)
        return warn(QStringLiteral("config.toml ") + problem);
    // Codex refuses a file it cannot parse; editing one that is not understood could only make
    // it worse, or hide the fault.
    if (const std::optional<QString> fault = TomlSyntax::problem(*text))
        return warn(QStringLiteral("config.toml is not valid TOML (%1); it was left untouched.")
                        .arg(*fault));
    qsizetype offset = 0;
    for (const QStringView line : QStringView(*text).split(u'\n')) {
        readLine(line, offset);
        offset += line.size() + 1;
    }
    for (const QString& key : otherForms_)
        warn(QStringLiteral("the entry for %1 is not written as a [projects.\"...\"] table and was "
                            "left unchanged.")
                 .arg(key));

    QString rewritten;
    qsizetype copiedUpTo = 0;
    int count = 0;
    for (const auto& [newKey, replacement] : candidates_) {
        // Two tables of one name make the whole file invalid for Codex.
        if (headerKeys_.contains(newKey)) {
            warn(QStringLiteral("%1 already has an entry; the one for the old path was left "
                                "unchanged.")
                     .arg(newKey));
            continue;
        }
        rewritten += QStringView(*text).mid(copiedUpTo, replacement.start - copiedUpTo);
        rewritten += replacement.text;
        copiedUpTo = replacement.start + replacement.length;
        ++count;
    }
    if (count == 0)
        return;
    rewritten += QStringView(*text).mid(copiedUpTo);
    if (context_.writes()) {
        // The user's own configuration, edited by hand: a change made meanwhile is never lost,
        // and the next relink finds the entries still to move.
        QString failure;
        switch (RelinkFiles::replaceIfUnchanged(path_, *text, rewritten, failure)) {
        case RelinkFiles::Replaced::done:
            break;
        case RelinkFiles::Replaced::changedMeanwhile:
            return warn(QStringLiteral("config.toml changed while it was being rewritten and was "
                                       "left untouched."));
        case RelinkFiles::Replaced::failed:
            return warn(QStringLiteral("config.toml could not be written (%1)").arg(failure));
        }
    }
    context_.report.codexTrustEntries += count;
}

} // namespace

void CodexTrustStep::run(const RelinkContext& context) {
    TrustEditor(context).run();
}

} // namespace corvane
