/* A child that an external projection starts, and that behaves as the environment variable
   OPRJ_TEST_CHILD says: words, one after the other, of which "*" is where the last word goes back
   to.

     read      takes a command whole         head      takes the header of a command
     ok N      announces N bytes             all       announces as many as were asked with
     fail S N  a status and N bytes          echo      the bytes of the command
     put TEXT  these bytes, "_" for a blank  zeros N   so many zero bytes
     stream    takes the bytes of a command in pieces and gives each back at once
     save PATH writes the bytes of the command to a file
     deaf      ignores SIGTERM               shut N    closes a descriptor
     leave     starts a process that keeps standard output open for a second
     hang      does nothing more, and ends when the library has no more use for it
     pause     does nothing for ever         exit      ends

   Where standard input ends, so does the child. "kit" serves by external.h instead: a projection
   that adds 1 forward, and fails at an x of 13. */
#include <fcntl.h>
#include <oprj/external.h>
#include <poll.h>
#include <signal.h>

static uint8_t header[8], *payload;
static uint32_t size;

static void need(int done) {
  if (!done) exit(0);
}

static uint32_t numberAt(const uint8_t *from) {
  Oprj_ExternalBytes bytes;
  bytes.all = bytes.at = from;
  bytes.left = 4;
  return (uint32_t)oprj_ExternalTake(&bytes, 4);
}

static void readHead(void) {
  need(oprj_ExternalReadAll(0, header, sizeof header));
  size = numberAt(header + 4);
}

static void writeHead(uint32_t status, uint32_t count) {
  uint8_t head[8];
  oprj_ExternalPut(head, status);
  oprj_ExternalPut(head + 4, count);
  need(oprj_ExternalWriteAll(1, head, sizeof head));
}

static void stream(void) {
  uint8_t piece[4096];
  for (uint32_t left = size, take; left > 0; left -= take) {
    take = left < sizeof piece ? left : (uint32_t)sizeof piece;
    need(oprj_ExternalReadAll(0, piece, take));
    need(oprj_ExternalWriteAll(1, piece, take));
  }
}

static void save(const char *path) {
  FILE *file = fopen(path, "wb");
  need(file && fwrite(payload, 1, size, file) == size && fclose(file) == 0);
}

static const char *next(void) {
  const char *word = strtok(NULL, " ");
  need(word != NULL);
  return word;
}
static uint32_t nextNumber(void) { return (uint32_t)strtoul(next(), NULL, 10); }

static void act(const char *word) {
  if (strcmp(word, "read") == 0) {
    readHead();
    payload = realloc(payload, size + 1u);
    need(payload && oprj_ExternalReadAll(0, payload, size));
  } else if (strcmp(word, "head") == 0) {
    readHead();
  } else if (strcmp(word, "ok") == 0) {
    writeHead(0, nextNumber());
  } else if (strcmp(word, "all") == 0) {
    writeHead(0, size);
  } else if (strcmp(word, "fail") == 0) {
    const uint32_t status = nextNumber();
    writeHead(status, nextNumber());
  } else if (strcmp(word, "echo") == 0) {
    need(oprj_ExternalWriteAll(1, payload, size));
  } else if (strcmp(word, "put") == 0) {
    for (const char *c = next(); *c; ++c) need(oprj_ExternalWriteAll(1, *c == '_' ? " " : c, 1));
  } else if (strcmp(word, "zeros") == 0) {
    for (uint32_t count = nextNumber(); count > 0; --count) need(oprj_ExternalWriteAll(1, "", 1));
  } else if (strcmp(word, "stream") == 0) {
    stream();
  } else if (strcmp(word, "save") == 0) {
    save(next());
  } else if (strcmp(word, "deaf") == 0) {
    signal(SIGTERM, SIG_IGN);
  } else if (strcmp(word, "shut") == 0) {
    close((int)nextNumber());
  } else if (strcmp(word, "leave") == 0) {
    if (fork() == 0) {
      close(0);
      sleep(1);
      _exit(0);
    }
  } else if (strcmp(word, "hang") == 0) {
    struct pollfd ends[2] = {{fcntl(0, F_GETFD) < 0 ? -1 : 0, 0, 0}, {1, 0, 0}};
    poll(ends, 2, -1);
    exit(0);
  } else if (strcmp(word, "pause") == 0) {
    for (;;) pause();
  } else {
    exit(0);
  }
}

static int init(void **self, const Oprj_ExternalRecord *record, Oprj_ExternalError *error) {
  printf("this gets to standard error\n");
  *self = NULL;
  return record->count >= 8 || oprj_ExternalFail(error, 123456, "%d entries", (int)record->count);
}

static int addOne(void *self, const double *in, double *out, int32_t count,
                  Oprj_ExternalError *error) {
  (void)self;
  for (int32_t i = 0; i < 2 * count; ++i) {
    if (in[i] == 13) return oprj_ExternalFail(error, -7, "number %d is 13", (int)i);
    out[i] = in[i] + 1;
  }
  return 1;
}

static int takeOne(void *self, const double *in, double *out, int32_t count,
                   Oprj_ExternalError *error) {
  (void)self;
  (void)error;
  for (int32_t i = 0; i < 2 * count; ++i) out[i] = in[i] - 1;
  return 1;
}

int main(void) {
  const char *script = getenv("OPRJ_TEST_CHILD");
  const Oprj_ExternalProjection projection = {"kit", init, addOne, takeOne, NULL};
  static char words[1024];
  if (!script || strlen(script) >= sizeof words) return 1;
  if (strcmp(script, "kit") == 0) return oprj_ExternalServe(&projection);
  const char *loop = strstr(script, "* ");
  for (const char *from = script;; from = loop + 2) {
    const char *word;
    strcpy(words, from);
    for (word = strtok(words, " "); word; word = strtok(NULL, " "))
      if (strcmp(word, "*") != 0) act(word);
    if (!loop) return 0;
  }
}
