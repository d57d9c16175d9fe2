#pragma once

#include "tests/support/Files.h"

#include <QDir>
#include <QStringList>
#include <QTemporaryDir>

namespace kopertal::test {

/// Stand-ins of the print system's programs, before all others on the PATH while this lives, that
/// keep what they are given. Temporary files go to a folder of its own meanwhile.
class StandInPrinter {
public:
    StandInPrinter() {
        const QString here = m_folder.path();
        addProgram(QStringLiteral("lpstat"),
                   QStringLiteral("[ \"$1\" = -e ] && exec /bin/cat '%1/printers'\n"
                                  "echo 'system default destination: '$(/bin/cat '%1/default')\n")
                       .arg(here));
        addProgram(QStringLiteral("lp"),
                   QStringLiteral("job='%1'/job-$(echo '%1'/job-* | /usr/bin/wc -w)\n"
                                  "/bin/mkdir \"$job\"\n"
                                  "printf '%s\\0' \"$@\" >\"$job/arguments\"\n"
                                  "for file; do :; done\n"
                                  "/bin/cp \"$file\" \"$job/pdf\"\n")
                       .arg(here));
        write(QStringLiteral("job-"), {}); // so that the pattern always matches
        setPrinters({QStringLiteral("Biuro")}, QStringLiteral("Biuro"));
        QDir(here).mkdir(QStringLiteral("tmp"));
        qputenv("PATH", QFile::encodeName(programs()) + ':' + m_path);
        qputenv("TMPDIR", QFile::encodeName(temporary()));
    }
    ~StandInPrinter() {
        qputenv("PATH", m_path);
        m_temporary.isNull() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", m_temporary);
    }

    void setPrinters(const QStringList& names, const QString& preferred) const {
        write(QStringLiteral("printers"), (names.join(u'\n') + u'\n').toUtf8());
        write(QStringLiteral("default"), preferred.toUtf8());
    }

    /// A program of that name, of shell commands, before all others.
    void addProgram(const QString& name, const QString& commands) const {
        QDir(m_folder.path()).mkpath(QStringLiteral("bin"));
        write(QStringLiteral("bin/") + name, "#!/bin/sh\n" + commands.toUtf8());
        QFile::setPermissions(programs() + u'/' + name, QFile::Permissions(0x7700));
    }
    /// Where the stand-ins are, and the temporary files.
    QString programs() const { return m_folder.filePath(QStringLiteral("bin")); }
    QString temporary() const { return m_folder.filePath(QStringLiteral("tmp")); }
    QStringList leftBehind() const {
        return QDir(temporary()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    /// The jobs that came, counted from 1.
    int jobs() const {
        return static_cast<int>(
            QDir(m_folder.path()).entryList({QStringLiteral("job-?*")}, QDir::Dirs).size());
    }
    QString pdf(int job) const { return m_folder.filePath(QStringLiteral("job-%1/pdf").arg(job)); }
    /// Without the file, which is last.
    QStringList arguments(int job) const {
        const QStringList all =
            QString::fromUtf8(contentsOf(m_folder.filePath(QString("job-%1/arguments").arg(job))))
                .split(u'\0');
        return all.size() < 2 ? QStringList() : all.first(all.size() - 2);
    }

private:
    void write(const QString& name, const QByteArray& bytes) const {
        writeFile(m_folder.filePath(name), bytes);
    }

    QTemporaryDir m_folder;
    QByteArray m_path = qgetenv("PATH");
    QByteArray m_temporary = qgetenv("TMPDIR");
};

} // namespace kopertal::test
