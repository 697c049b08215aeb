/*
 * replay_log list LOG
 * replay_log replay LOG TARGET COUNT
 *
 * Reads the log that the kernel's dm-log-writes target keeps of every write
 * that reached a device, so a test can cut the power after any of them:
 * `replay` writes the first COUNT entries onto TARGET (a copy of the device
 * as it was when logging began, an image file or a block device), which then
 * holds exactly what a disk would have held had the power gone right after
 * entry COUNT - 1. `list` prints one line an entry for a script to choose
 * such points from:
 *
 *     INDEX FLAGS SECTOR SECTORS [MARK]
 *
 * FLAGS is FLUSH, FUA, DISCARD, MARK and META joined by commas, or "-";
 * SECTOR and SECTORS count the log's own sector size, which the first line
 * ("# entries N sectorsize S") gives.
 *
 * A discard is replayed as zeros: a device may hand back zeros, or anything,
 * for a range it was told to forget, and a file system that still reads it
 * is broken on one that does. Skipping the discard would hide that.
 */
#define _GNU_SOURCE
#include <errno.h>
#include <fcntl.h>
#include <inttypes.h>
#include <linux/fs.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <sys/ioctl.h>
#include <sys/stat.h>
#include <unistd.h>

enum {
    flag_flush = 1 << 0,
    flag_fua = 1 << 1,
    flag_discard = 1 << 2,
    flag_mark = 1 << 3,
    flag_metadata = 1 << 4,
};

static const uint64_t log_magic = 0x6a736677736872ULL;
static const uint64_t log_version = 1;

struct entry {
    uint64_t sector;
    uint64_t sectors;
    uint64_t flags;
    uint64_t data_length;
};

struct log {
    int fd;
    uint64_t entries;
    uint32_t sector_size;
    off_t next;
    unsigned char* block;
};

/* The log is little-endian whatever the machine. */
static uint64_t le64(const unsigned char* bytes) {
    uint64_t value = 0;
    for (int i = 7; i >= 0; i--)
        value = value << 8 | bytes[i];
    return value;
}

static uint32_t le32(const unsigned char* bytes) {
    return (uint32_t)bytes[0] | (uint32_t)bytes[1] << 8 | (uint32_t)bytes[2] << 16 |
           (uint32_t)bytes[3] << 24;
}

static int fail(const char* what) {
    fprintf(stderr, "replay_log: %s: %s\n", what, errno ? strerror(errno) : "malformed log");
    return 1;
}

static int read_fully(int fd, void* buffer, size_t length, off_t offset) {
    unsigned char* into = buffer;
    while (length > 0) {
        ssize_t done = pread(fd, into, length, offset);
        if (done < 0 && errno == EINTR)
            continue;
        if (done <= 0) {
            if (done == 0)
                errno = 0;
            return -1;
        }
        into += done;
        length -= (size_t)done;
        offset += done;
    }
    return 0;
}

static int write_fully(int fd, const void* buffer, size_t length, off_t offset) {
    const unsigned char* from = buffer;
    while (length > 0) {
        ssize_t done = pwrite(fd, from, length, offset);
        if (done < 0 && errno == EINTR)
            continue;
        if (done <= 0)
            return -1;
        from += done;
        length -= (size_t)done;
        offset += done;
    }
    return 0;
}

static int open_log(struct log* log, const char* path) {
    unsigned char super[512];
    errno = 0;
    log->fd = open(path, O_RDONLY);
    if (log->fd < 0 || read_fully(log->fd, super, sizeof super, 0) != 0)
        return fail(path);
    log->entries = le64(super + 16);
    log->sector_size = le32(super + 24);
    errno = 0;
    if (le64(super) != log_magic || le64(super + 8) != log_version || log->sector_size < 512 ||
        (log->sector_size & (log->sector_size - 1)) != 0)
        return fail(path);
    log->block = malloc(log->sector_size);
    if (!log->block)
        return fail("memory");
    log->next = log->sector_size;
    return 0;
}

/* Reads the next entry's header; its data, if any, follows at log->next. */
static int next_entry(struct log* log, struct entry* entry, char* mark, size_t mark_size) {
    errno = 0;
    if (read_fully(log->fd, log->block, log->sector_size, log->next) != 0)
        return fail("reading an entry");
    entry->sector = le64(log->block);
    entry->sectors = le64(log->block + 8);
    entry->flags = le64(log->block + 16);
    entry->data_length = le64(log->block + 24);
    log->next += log->sector_size;
    mark[0] = '\0';
    if (entry->flags & flag_mark) {
        size_t length = entry->data_length;
        if (length > log->sector_size - 32 || length >= mark_size) {
            errno = 0;
            return fail("a mark longer than its block");
        }
        memcpy(mark, log->block + 32, length);
        mark[length] = '\0';
    }
    return 0;
}

static uint64_t data_bytes(const struct log* log, const struct entry* entry) {
    if (entry->flags & (flag_discard | flag_mark))
        return 0;
    return entry->sectors * log->sector_size;
}

static int list(const char* path) {
    struct log log;
    if (open_log(&log, path))
        return 1;
    printf("# entries %" PRIu64 " sectorsize %" PRIu32 "\n", log.entries, log.sector_size);
    char mark[4096];
    for (uint64_t index = 0; index < log.entries; index++) {
        struct entry entry;
        if (next_entry(&log, &entry, mark, sizeof mark))
            return 1;
        log.next += (off_t)data_bytes(&log, &entry);
        char flags[64] = "";
        static const struct {
            uint64_t bit;
            const char* name;
        } names[] = {{flag_flush, "FLUSH"},
                     {flag_fua, "FUA"},
                     {flag_discard, "DISCARD"},
                     {flag_mark, "MARK"},
                     {flag_metadata, "META"}};
        for (size_t i = 0; i < sizeof names / sizeof names[0]; i++) {
            if (entry.flags & names[i].bit) {
                if (flags[0])
                    strcat(flags, ",");
                strcat(flags, names[i].name);
            }
        }
        printf("%" PRIu64 " %s %" PRIu64 " %" PRIu64 "%s%s\n", index, flags[0] ? flags : "-",
               entry.sector, entry.sectors, mark[0] ? " " : "", mark);
    }
    return 0;
}

static int zero_range(int fd, int is_device, off_t offset, off_t length) {
    if (is_device) {
        uint64_t range[2] = {(uint64_t)offset, (uint64_t)length};
        if (ioctl(fd, BLKZEROOUT, range) == 0)
            return 0;
    } else if (fallocate(fd, FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, offset, length) == 0) {
        return 0;
    }
    static const unsigned char zeros[65536];
    while (length > 0) {
        size_t step = length < (off_t)sizeof zeros ? (size_t)length : sizeof zeros;
        if (write_fully(fd, zeros, step, offset) != 0)
            return -1;
        offset += (off_t)step;
        length -= (off_t)step;
    }
    return 0;
}

static int replay(const char* path, const char* target_path, const char* count_text) {
    char* end = NULL;
    errno = 0;
    unsigned long long count = strtoull(count_text, &end, 10);
    if (errno || !end || *end || end == count_text) {
        fprintf(stderr, "replay_log: COUNT must be a number, not %s\n", count_text);
        return 2;
    }
    struct log log;
    if (open_log(&log, path))
        return 1;
    if (count > log.entries) {
        fprintf(stderr, "replay_log: the log holds %" PRIu64 " entries, not %llu\n", log.entries,
                count);
        return 1;
    }
    int target = open(target_path, O_WRONLY);
    struct stat status;
    if (target < 0 || fstat(target, &status) != 0)
        return fail(target_path);
    int is_device = S_ISBLK(status.st_mode);
    unsigned char* data = NULL;
    size_t capacity = 0;
    char mark[4096];
    for (uint64_t index = 0; index < count; index++) {
        struct entry entry;
        if (next_entry(&log, &entry, mark, sizeof mark))
            return 1;
        off_t offset = (off_t)(entry.sector * log.sector_size);
        if (entry.flags & flag_discard) {
            if (zero_range(target, is_device, offset, (off_t)(entry.sectors * log.sector_size)))
                return fail("discarding");
            continue;
        }
        uint64_t length = data_bytes(&log, &entry);
        if (length == 0)
            continue;
        if (length > capacity) {
            free(data);
            capacity = length;
            data = malloc(capacity);
            if (!data)
                return fail("memory");
        }
        errno = 0;
        if (read_fully(log.fd, data, length, log.next) != 0)
            return fail("reading an entry's data");
        log.next += (off_t)length;
        if (write_fully(target, data, length, offset) != 0)
            return fail(target_path);
    }
    if (fsync(target) != 0 || close(target) != 0)
        return fail(target_path);
    free(data);
    return 0;
}

int main(int argc, char** argv) {
    if (argc == 3 && strcmp(argv[1], "list") == 0)
        return list(argv[2]);
    if (argc == 5 && strcmp(argv[1], "replay") == 0)
        return replay(argv[2], argv[3], argv[4]);
    fprintf(stderr, "usage: replay_log list LOG\n"
                    "       replay_log replay LOG TARGET COUNT\n");
    return 2;
}
