/*
 * replay_log list LOG
 * replay_log replay LOG TARGET COUNT
 *
 * Reads the log that the kernel's dm-log-writes target keeps of every write
 * that reached a device, so a test can cut the power after any of them:
 * `replay` writes the first COUNT entries onto TARGET (an image file, a copy
 * of the device as it was when logging began), which then holds exactly what
 * a disk would have held had the power gone right after entry COUNT - 1.
 * `list` prints one line an entry for a script to choose such points from:
 *
 *     INDEX FLAGS SECTOR SECTORS [MARK]
 *
 * FLAGS is FLUSH, FUA, DISCARD, MARK and META joined by commas, or "-";
 * SECTOR and SECTORS count the log's own sector size, which the first line
 * ("# entries N sectorsize S") gives.
 *
 * A discard is replayed as a hole, which reads as zeros: a device may hand
 * back zeros, or anything, for a range it was told to forget, and a file
 * system that still reads it is broken on one that does. Skipping the discard
 * would hide that.
 */
#define _GNU_SOURCE
#include <errno.h>
#include <fcntl.h>
#include <inttypes.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <unistd.h>

enum { flag_discard = 1 << 2, flag_mark = 1 << 3 };
static const char* const flag_names[] = {"FLUSH", "FUA", "DISCARD", "MARK", "META"};

static const uint64_t log_magic = 0x6a736677736872ULL;
static const uint64_t log_version = 1;

/* The log is little-endian whatever the machine. */
static uint64_t little_endian(const unsigned char* bytes, int size) {
    uint64_t value = 0;
    while (size-- > 0)
        value = value << 8 | bytes[size];
    return value;
}

static int fail(const char* what) {
    fprintf(stderr, "replay_log: %s: %s\n", what, errno ? strerror(errno) : "malformed log");
    return 1;
}

/* The whole of LENGTH bytes, through short transfers and signals; a log that
   ends early leaves errno 0, which `fail` reports as malformed. */
static int transfer(int fd, unsigned char* buffer, size_t length, off_t offset, int writing) {
    while (length > 0) {
        ssize_t done =
            writing ? pwrite(fd, buffer, length, offset) : pread(fd, buffer, length, offset);
        if (done < 0 && errno == EINTR)
            continue;
        if (done <= 0) {
            if (done == 0)
                errno = 0;
            return -1;
        }
        buffer += done;
        length -= (size_t)done;
        offset += done;
    }
    return 0;
}

/* Lists every entry of the log at PATH or, given a TARGET, replays its first
   COUNT entries onto it. */
static int walk(const char* path, const char* target_path, const char* count_text) {
    unsigned long long count = 0;
    if (target_path) {
        char* end = NULL;
        errno = 0;
        count = strtoull(count_text, &end, 10);
        if (errno || !end || *end || end == count_text) {
            fprintf(stderr, "replay_log: COUNT must be a number, not %s\n", count_text);
            return 2;
        }
    }
    unsigned char super[512];
    errno = 0;
    int log = open(path, O_RDONLY);
    if (log < 0 || transfer(log, super, sizeof super, 0, 0) != 0)
        return fail(path);
    uint64_t entries = little_endian(super + 16, 8);
    uint32_t sector_size = (uint32_t)little_endian(super + 24, 4);
    errno = 0;
    if (little_endian(super, 8) != log_magic || little_endian(super + 8, 8) != log_version ||
        sector_size < 512 || (sector_size & (sector_size - 1)) != 0)
        return fail(path);
    int target = -1;
    if (!target_path) {
        count = entries;
        printf("# entries %" PRIu64 " sectorsize %" PRIu32 "\n", entries, sector_size);
    } else if (count > entries) {
        fprintf(stderr, "replay_log: the log holds %" PRIu64 " entries, not %llu\n", entries,
                count);
        return 1;
    } else {
        target = open(target_path, O_WRONLY);
        if (target < 0)
            return fail(target_path);
    }
    unsigned char* block = malloc(sector_size);
    unsigned char* data = NULL;
    size_t capacity = 0;
    off_t next = sector_size;
    for (uint64_t index = 0; index < count; index++) {
        errno = 0;
        if (!block || transfer(log, block, sector_size, next, 0) != 0)
            return fail("reading an entry");
        next += sector_size;
        uint64_t sector = little_endian(block, 8), sectors = little_endian(block + 8, 8);
        uint64_t flags = little_endian(block + 16, 8), length = little_endian(block + 24, 8);
        char mark[4096] = "";
        if (flags & flag_mark) {
            if (length > sector_size - 32 || length >= sizeof mark) {
                errno = 0;
                return fail("a mark longer than its block");
            }
            memcpy(mark, block + 32, length);
            mark[length] = '\0';
        }
        off_t offset = (off_t)(sector * sector_size);
        length = flags & (flag_discard | flag_mark) ? 0 : sectors * sector_size;
        if (target < 0) {
            printf("%" PRIu64 " ", index);
            int named = 0;
            for (size_t bit = 0; bit < sizeof flag_names / sizeof *flag_names; bit++)
                if (flags & 1u << bit)
                    printf("%s%s", named++ ? "," : "", flag_names[bit]);
            printf("%s %" PRIu64 " %" PRIu64 "%s%s\n", named ? "" : "-", sector, sectors,
                   mark[0] ? " " : "", mark);
        } else if (flags & flag_discard) {
            if (fallocate(target, FALLOC_FL_PUNCH_HOLE | FALLOC_FL_KEEP_SIZE, offset,
                          (off_t)(sectors * sector_size)) != 0)
                return fail("discarding");
        } else if (length > 0) {
            if (length > capacity && !(data = realloc(data, capacity = length)))
                return fail("memory");
            errno = 0;
            if (transfer(log, data, length, next, 0) != 0)
                return fail("reading an entry's data");
            if (transfer(target, data, length, offset, 1) != 0)
                return fail(target_path);
        }
        next += (off_t)length;
    }
    if (target >= 0 && (fsync(target) != 0 || close(target) != 0))
        return fail(target_path);
    free(block);
    free(data);
    return 0;
}

int main(int argc, char** argv) {
    if (argc == 3 && strcmp(argv[1], "list") == 0)
        return walk(argv[2], NULL, NULL);
    if (argc == 5 && strcmp(argv[1], "replay") == 0)
        return walk(argv[2], argv[3], argv[4]);
    fprintf(stderr, "usage: replay_log list LOG\n"
                    "       replay_log replay LOG TARGET COUNT\n");
    return 2;
}
