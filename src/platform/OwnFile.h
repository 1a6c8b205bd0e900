#pragma once

#include <QByteArray>
#include <QJsonValue>
#include <QList>
#include <QString>
#include <functional>
#include <optional>

namespace corvane {

// A file of the system's own that holds a list of records (the archive catalog, the organize
// journal, the cleanup history, the Keep marks, the archive destinations, the Claude folder
// ledger). Every change is one read, change and atomic replace under the file's lock, so that the
// app and the command line never lose each other's records. What was read is never taken for
// less than it is:
//  - a missing file is an empty list;
//  - records of a shape this version does not know are kept, untouched, through every change,
//    and the readable ones are used as they are;
//  - a file that cannot be read at all (not JSON, cut short, not a list) is never empty: it is
//    reported, and before anything is written over it its bytes are kept beside it as
//    "<stem>.unreadable-YYYYMMDD-HHMMSS.json".
class OwnFile {
public:
    enum class Layout {
        // The document is a JSON array of records.
        array,
        // The document is a JSON object; its member `listKey` is the array of records.
        keyedArray,
        // The document is a JSON object whose members are the records; each is handed out as an
        // object of its one member.
        members,
    };
    struct Shape {
        Layout layout = Layout::array;
        QString listKey;
        // Whether this version can read the record.
        std::function<bool(const QJsonValue&)> knows;
    };
    // Where the bytes live: the file at the path, unless a store keeps them elsewhere (the user
    // defaults). `read` gives nothing when there is nothing stored; `write` returns an empty
    // string on success, else the message for the user.
    struct Storage {
        std::function<std::optional<QByteArray>(QString* error)> read;
        std::function<QString(const QByteArray&)> write;
    };

    enum class State { missing, whole, partlyReadable, unreadable };
    // What a change does when the file cannot be read at all.
    enum class WhenUnreadable { setAsideAndBeginAgain, refuse };

    // `title` names the file for the user: "The archive catalog". The lock and the set-aside
    // copies live beside `path`.
    OwnFile(QString path, QString title, Shape shape, std::optional<Storage> storage = {});

    const QString& path() const { return path_; }

    struct Contents {
        State state = State::missing;
        // The records this version reads, in the file's order.
        QList<QJsonValue> records;
        // What the user must hear when the file is not whole.
        std::optional<QString> problem;
    };
    Contents load() const;

    struct Outcome {
        // Empty when the change was saved (or changed nothing), else why not.
        QString error;
        // Set when the file was not whole: what was kept, and where.
        QString notice;
    };
    using Change = std::function<void(QList<QJsonValue>& records)>;
    Outcome update(const Change& change,
                   WhenUnreadable whenUnreadable = WhenUnreadable::setAsideAndBeginAgain) const;

    // What one reading found; used by the file's own code only.
    struct Read;

private:
    Read readNow() const;
    struct Aside {
        // The new copy; empty when an earlier copy holds the same.
        QString path;
        bool failed = false;
    };
    Aside setAside(const Read& read) const;
    QString describe(const Read& read) const;
    std::optional<QString> problemOf(const Read& read) const;

    QString path_;
    QString title_;
    Shape shape_;
    Storage storage_;
};

// The records `decode` reads, in order; `decode` returns nothing for a record it cannot read.
template <typename Record, typename Decode>
QList<Record> decodedRecords(const QList<QJsonValue>& records, Decode decode) {
    QList<Record> decoded;
    for (const QJsonValue& record : records) {
        if (std::optional<Record> one = decode(record))
            decoded.append(std::move(*one));
    }
    return decoded;
}

} // namespace corvane
