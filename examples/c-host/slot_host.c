/* Lists a disc image and saves one of its tracks, in C. The program includes no header of ImageFile. It needs only the
   layout of the records and the order of the operations. Any language that calls functions by address can do the same.

     cc slot_host.c $(pkg-config --cflags --libs imagefile-platform) -o slot_host
     slot_host IMAGE [TRACK FILE] */

#include <locale.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <uchar.h>

typedef struct {
  uint32_t data1;
  uint16_t data2;
  uint16_t data3;
  uint8_t data4[8];
} Guid;

/* Functions of the platform library. */
int32_t CLSIDFromProgID(const char16_t* progId, Guid* clsid);
int32_t CoCreateInstance(const Guid* clsid, void* outer, uint32_t context, const Guid* iid, void** object);
char16_t* SysAllocString(const char16_t* text);
void SysFreeString(char16_t* text);

/* Records are packed on one byte. Fields that this program does not read are arrays of bytes. */
#pragma pack(push, 1)
typedef struct {
  uint32_t number;
  uint32_t* indexes;
  uint8_t indexCount;
  int32_t pregap;
  uint32_t begin;
  uint32_t end;
  int32_t postgap;
  int32_t mode;
  int32_t blockSize;
  int32_t imageBlockSize;
  int32_t flags;
  uint8_t files[16];
  char16_t* texts[8];
  uint64_t offset;
} Track;

typedef struct {
  uint32_t trackCount;
  Track* tracks;
  uint8_t text[2 + 8 * sizeof(void*) + 4];
  int32_t sessionFormat;
} Sheet;

typedef struct {
  int32_t mask;
  char16_t* dataFile;
  int32_t format;
  int32_t kind;
  int32_t blockSize;
  Sheet* sheets[99];
  uint16_t sessionCount;
  uint64_t seekBegin;
  uint64_t seekEnd;
  uint16_t subCount;
  uint32_t discId;
  uint32_t discId2;
  int32_t reserved;
} Disc;

typedef struct {
  uint8_t bytes[16];
} Value;
#pragma pack(pop)

_Static_assert(sizeof(Track) == 97 + 9 * (sizeof(void*) - 4), "layout of a track");
_Static_assert(sizeof(Sheet) == 50 + 9 * (sizeof(void*) - 4), "layout of a session");
_Static_assert(sizeof(Disc) == 448 + 100 * (sizeof(void*) - 4), "layout of an image");

/* An object begins with the address of its table of slots. */
typedef void (*Slot)(void);

typedef struct ImageFile {
  const struct {
    Slot queryInterface, addRef;
    uint32_t (*release)(struct ImageFile*);
    Slot setCallBack;
    int32_t (*getImageFileInfo)(struct ImageFile*, char16_t* path, Disc* disc);
    Slot createTOCFile, open, clone;
    int32_t (*freeImageFileInfo)(struct ImageFile*, Disc* disc);
  } * slots;
} ImageFile;

typedef struct Stream {
  const struct {
    Slot queryInterface, addRef;
    uint32_t (*release)(struct Stream*);
    int32_t (*read)(struct Stream*, void* buffer, uint32_t count, uint32_t* delivered);
  } * slots;
} Stream;

typedef struct CueSheet {
  const struct {
    Slot queryInterface, addRef;
    uint32_t (*release)(struct CueSheet*);
    Slot createCueFile, analyzeCueSheet, analyzeCDText, analyzeCDTextFromData, getBinaryFile, prepareTracks;
    int32_t (*extractTrackToStream)(struct CueSheet*, char16_t* imageFile, char16_t* label, Disc* disc, Track* track,
                                    uint32_t blockSize, int32_t* callback, uint32_t number, Value user,
                                    Stream** stream);
  } * slots;
} CueSheet;

static const Guid kImageFile = {0xAECC35E5, 0x5E47, 0x4670, {0x9F, 0x6A, 0xC4, 0x8B, 0xC2, 0x3B, 0x25, 0xAB}};
static const Guid kCueSheet = {0x315DBEA3, 0xA2E9, 0x40C5, {0x89, 0x30, 0x1C, 0x84, 0x2A, 0x2C, 0x88, 0x35}};

static void* Create(const char16_t* progId, const Guid* iid) {
  Guid clsid;
  void* object = NULL;
  int32_t result = CLSIDFromProgID(progId, &clsid);
  if (result >= 0) {
    result = CoCreateInstance(&clsid, NULL, 1, iid, &object);
  }
  if (result < 0) {
    fprintf(stderr, "slot_host: creating an object (is the library registered?): 0x%08X\n", (unsigned)result);
  }
  return object;
}

/* Converts UTF-8 to a wide string that the caller frees. Null if the text is not valid. */
static char16_t* Wide(const char* text) {
  const char* end = text + strlen(text) + 1;
  char16_t* units = calloc((size_t)(end - text), sizeof(char16_t));
  mbstate_t state;
  size_t count = 0;
  memset(&state, 0, sizeof(state));
  while (units != NULL && text < end) {
    const size_t used = mbrtoc16(&units[count], text, (size_t)(end - text), &state);
    if (used == (size_t)-1 || used == (size_t)-2) {
      free(units);
      return NULL;
    }
    if (used == 0) {
      break;
    }
    text += used == (size_t)-3 ? 0 : used;
    ++count;
  }
  char16_t* wide = units == NULL ? NULL : SysAllocString(units);
  free(units);
  return wide;
}

static void List(const Disc* disc) {
  for (unsigned session = 0; session < disc->sessionCount; ++session) {
    const Sheet* sheet = disc->sheets[session];
    for (uint32_t i = 0; i < sheet->trackCount; ++i) {
      const Track* track = &sheet->tracks[i];
      printf("session %u track %2u: sectors %6u to %6u, mode %d, %d bytes\n", session + 1, track->number, track->begin,
             track->end, track->mode, track->blockSize);
    }
  }
}

/* Copies a stream of `length` bytes to a new file. The stream of a truncated image ends early without an error. */
static int CopyStream(Stream* stream, uint64_t length, const char* path) {
  static uint8_t buffer[64 * 1024];
  FILE* file = fopen(path, "wbx"); /* Fails if the file exists: it may be the image. */
  if (file == NULL) {
    perror(path);
    return EXIT_FAILURE;
  }
  uint64_t total = 0;
  uint32_t delivered = 0;
  int32_t result;
  int written;
  do {
    result = stream->slots->read(stream, buffer, sizeof(buffer), &delivered);
    written = fwrite(buffer, 1, delivered, file) == delivered;
    total += delivered;
  } while (result >= 0 && delivered != 0 && written);
  if (fclose(file) != 0 || !written) {
    perror(path);
    return EXIT_FAILURE;
  }
  if (result < 0) {
    fprintf(stderr, "slot_host: reading the track: 0x%08X\n", (unsigned)result);
    return EXIT_FAILURE;
  }
  if (total != length) {
    fprintf(stderr, "slot_host: the image ends before the track does: %llu of %llu bytes are in %s\n",
            (unsigned long long)total, (unsigned long long)length, path);
    return EXIT_FAILURE;
  }
  return EXIT_SUCCESS;
}

static int Save(Disc* disc, uint32_t number, const char* path) {
  if (disc->sessionCount == 0 || number < 1 || number > disc->sheets[0]->trackCount) {
    fprintf(stderr, "slot_host: no such track in the first session\n");
    return EXIT_FAILURE;
  }
  CueSheet* sheets = Create(u"ZSImageFile.ZSCueSheet", &kCueSheet);
  if (sheets == NULL) {
    return EXIT_FAILURE;
  }
  Track* track = &disc->sheets[0]->tracks[number - 1];
  const uint64_t sectors = track->end > track->begin ? track->end - track->begin : 0;
  Stream* stream = NULL;
  const Value none = {{0}};
  int status = EXIT_FAILURE;
  const int32_t result =
      sheets->slots->extractTrackToStream(sheets, disc->dataFile, NULL, disc, track, 0, NULL, 0, none, &stream);
  if (result == 0) {
    status = CopyStream(stream, sectors * (uint32_t)track->blockSize, path);
    stream->slots->release(stream);
  } else {
    fprintf(stderr, "slot_host: opening a stream of the track: 0x%08X\n", (unsigned)result);
  }
  sheets->slots->release(sheets);
  return status;
}

static int Show(ImageFile* images, char** arguments, int save) {
  char16_t* path = Wide(arguments[0]);
  if (path == NULL) {
    fprintf(stderr, "slot_host: %s: the name is not UTF-8\n", arguments[0]);
    return EXIT_FAILURE;
  }
  Disc disc; /* getImageFileInfo clears it first. */
  const int32_t result = images->slots->getImageFileInfo(images, path, &disc);
  SysFreeString(path);
  if (result != 0) {
    fprintf(stderr, "slot_host: reading the image %s: 0x%08X\n", arguments[0], (unsigned)result);
    return EXIT_FAILURE;
  }
  List(&disc);
  const int status = save ? Save(&disc, (uint32_t)atoi(arguments[1]), arguments[2]) : EXIT_SUCCESS;
  images->slots->freeImageFileInfo(images, &disc);
  return status;
}

int main(int argc, char** argv) {
  if (argc != 2 && argc != 4) {
    fprintf(stderr, "usage: slot_host IMAGE [TRACK FILE]\n");
    return 2;
  }
  setlocale(LC_CTYPE, "C.UTF-8");
  ImageFile* images = Create(u"ZSImageFile.ZSImageFile", &kImageFile);
  if (images == NULL) {
    return EXIT_FAILURE;
  }
  const int status = Show(images, argv + 1, argc == 4);
  images->slots->release(images);
  return status;
}
