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
        for (const char* folder : {"bin", "tmp", "jobs"})
            QDir(m_folder.path()).mkdir(folder);
        addProgram("lpstat", "[ \"$1\" = -e ] && exec /bin/cat '%1/printers'\n"
                             "echo 'system default destination: '$(/bin/cat '%1/default')\n");
        addProgram("lp", "job='%1'/jobs/$(($(/bin/ls '%1/jobs' | /usr/bin/wc -l) + 1))\n"
                         "/bin/mkdir \"$job\"\n"
                         "printf '%s\\0' \"$@\" >\"$job/arguments\"\n"
                         "for file; do :; done\n"
                         "/bin/cp \"$file\" \"$job/pdf\"\n");
        setPrinters({"Biuro"}, "Biuro");
        qputenv("PATH", QFile::encodeName(programs()) + ':' + m_path);
        qputenv("TMPDIR", QFile::encodeName(temporary()));
    }
    ~StandInPrinter() {
        qputenv("PATH", m_path);
        m_temporary.isNull() ? qunsetenv("TMPDIR") : qputenv("TMPDIR", m_temporary);
    }

    void setPrinters(const QStringList& names, const QString& preferred) const {
        writeFile(m_folder.filePath("printers"), (names.join(u'\n') + u'\n').toUtf8());
        writeFile(m_folder.filePath("default"), preferred.toUtf8());
    }

    /// A program of that name, of shell commands, before all others; "%1" is the folder of all.
    void addProgram(const QString& name, QString commands) const {
        commands.replace("%1", m_folder.path());
        const QString path = writeFile(programs() + u'/' + name, "#!/bin/sh\n" + commands.toUtf8());
        QFile::setPermissions(path, QFile::Permissions(0x7700));
    }
    /// Where the stand-ins are, and the temporary files.
    QString programs() const { return m_folder.filePath("bin"); }
    QString temporary() const { return m_folder.filePath("tmp"); }
    QStringList leftBehind() const {
        return QDir(temporary()).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    }

    /// The jobs that came, counted from 1.
    int jobs() const {
        const QDir jobs(m_folder.filePath("jobs"));
        return static_cast<int>(jobs.entryList(QDir::Dirs | QDir::NoDotAndDotDot).size());
    }
    QString pdf(int job) const { return m_folder.filePath(QString("jobs/%1/pdf").arg(job)); }
    /// Without the file, which is last.
    QStringList arguments(int job) const {
        const QByteArray all = contentsOf(m_folder.filePath(QString("jobs/%1/arguments").arg(job)));
        return QString::fromUtf8(all.left(all.lastIndexOf('\0', -2))).split(u'\0');
    }

private:
    QTemporaryDir m_folder;
    QByteArray m_path = qgetenv("PATH");
    QByteArray m_temporary = qgetenv("TMPDIR");
};

} // namespace kopertal::test
