#include "core/import/file_import.h"
#include "core/platform/volume_mount.h"
#include "core/preview/volume_note.h"
#include "mounted_volume.h"
#include "temporary_folder.h"

#include <QDir>
#include <QTest>

class VolumeMountTest : public QObject {
    Q_OBJECT
private slots:
    void namesOnlyVolumesThatCanBeKnownAgain() {
        // The NFS client's own address is no part of the name: it changes with
        // the network the computer is on, the share does not.
        // clang-format off
        // The line of a mount, its lasting name (none if empty), whether it is remote or FUSE.
        const std::tuple<const char*, const char*, bool> rows[] = {
            {"29 1 254:1 / / rw,relatime shared:1 - ext4 /dev/vda1 rw", "", false},
            {"61 29 0:52 / /srv/nas rw,relatime shared:30 - nfs4 nas:/photos rw,vers=4.2,clientaddr=10.0.0.7,addr=10.0.0.2", "nfs4 nas:/photos /", true},
            {"62 29 0:53 / /home/me/box rw - fuse.sshfs me@box:/data rw,user_id=1000", "fuse.sshfs me@box:/data /", true},
            {"63 29 0:54 /clients /mnt/clients rw - fuse.bindfs /data rw", "fuse.bindfs /data /clients", true},
            {"64 29 0:55 / /merged rw - overlay overlay rw,lowerdir=/l,upperdir=/u,workdir=/w", "overlay lowerdir=/l,upperdir=/u /", false},
            {"65 29 0:56 / /run/user/1000 rw - tmpfs tmpfs rw,size=1m", "", false},
            {"66 29 8:17 / /media/usb rw - fuseblk /dev/sdb1 rw", "fuseblk /dev/sdb1 /", true},
        };
        // clang-format on
        QByteArray table;
        for (auto [line, name, remote] : rows)
            table += QByteArray(line) + "\n";
        const QList<VolumeMount> mounts = VolumeMount::parsed(table + "not a mount line\n");
        QCOMPARE(mounts.size(), std::size(rows));
        for (qsizetype index = 0; index < mounts.size(); ++index) {
            auto [line, name, remote] = rows[index];
            QCOMPARE(mounts[index].recognisableName(), QString(name));
            QCOMPARE(mounts[index].isNetworkOrFuse(), remote);
        }
        QCOMPARE(mounts[1].device, (0 << 8) | 52);
        QCOMPARE(mounts[6].device, (8 << 8) | 17);
    }

    void theSummaryNamesFoldersOnFuseVolumes() {
        QString whyNot;
        auto volume = MountedVolume::fuse(whyNot);
        if (!volume)
            QSKIP(qPrintable(whyNot));
        TemporaryFolder disk;
        disk.file("Local/a.txt", "a");
        QVERIFY(QDir().mkpath(volume->path() + "/Photos"));
        QVERIFY(QFile(volume->path() + "/Photos/IMG_4821.JPG").open(QIODevice::WriteOnly));
        auto files = [](const QString& folder) {
            return FileImport::collect({QUrl::fromLocalFile(folder)}, {}, 5000).files;
        };
        QCOMPARE(VolumeNote::forFiles(files(disk.at("Local"))), std::nullopt);
        QCOMPARE(
            VolumeNote::forFiles(files(disk.at("Local")) + files(volume->path() + "/Photos")),
            QString("Photos is on a network or FUSE volume: renames there are just as safe, and "
                    "undo needs the volume mounted from the same place."));
    }
};

QTEST_GUILESS_MAIN(VolumeMountTest)
#include "test_volume_mount.moc"
