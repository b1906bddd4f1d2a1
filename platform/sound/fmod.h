#pragma once
// fmod.dll: plays streams of encoded sound, from files or from memory, through
// the system's wave output.
//
// A stream's format is told by its first bytes, never by a name: RIFF/WAVE (PCM
// of 8 to 32 bits, floating point, A-law, mu-law, MS and IMA ADPCM, MPEG audio),
// MPEG audio of layers 1 to 3, Ogg Vorbis. Any rate and number of channels is
// brought to the rate of the output and to two channels.
//
// The order of calls: FSOUND_SetBufferSize, FSOUND_SetDriver, FSOUND_SetOutput,
// then FSOUND_Init; streams; FSOUND_Close. All functions may be called from any
// thread at any time. A stream or channel that doesn't exist (any more) makes a
// function fail and does no harm. Only FSOUND_Stream_Open waits for a file: one
// that stops answering while it plays falls silent until it answers again, and
// stays open for as long after its stream was closed.

#ifdef FMOD_BUILD
#define F_API __declspec(dllexport)
#else
#define F_API __declspec(dllimport)
#endif

// An open stream; only ever handled by pointer.
struct FSOUND_STREAM;

// Told at the end of a stream, when its last sample has been heard; not when
// the stream is stopped or closed. Runs on a thread of this library that runs
// nothing else, has a message loop and may use COM. `buffer` is null and
// `length` 0; `userData` is what was given with the callback. The result isn't
// used. The callback may call any function of this library, and what it throws
// is dropped.
using FSOUND_STREAMCALLBACK = bool (*)(FSOUND_STREAM* stream, void* buffer, int length,
                                       void* userData);

// Channels
constexpr int FSOUND_FREE = -1;  // any channel that plays nothing
constexpr int FSOUND_ALL = -3;   // every channel

// Positions; 0 is left, 255 right
constexpr int FSOUND_STEREOPAN = -1;  // both sides of a stereo sound, each on its own side

// Outputs
constexpr int FSOUND_OUTPUT_WINMM = 1;

// Flags of FSOUND_Init
constexpr unsigned FSOUND_INIT_GLOBALFOCUS = 2;  // sound goes on in the background; it always does

// Modes of FSOUND_Stream_Open
constexpr unsigned FSOUND_NORMAL = 0x0130;
constexpr unsigned FSOUND_2D = 0x2000;
constexpr unsigned FSOUND_LOADMEMORY = 0x8000;  // the name is the address of the data

extern "C" {

// Milliseconds of sound that are prepared ahead, 10 to 2000. False for a value
// out of range or while the output runs.
F_API bool FSOUND_SetBufferSize(int milliseconds);
// The device, counted from 1; 0 is the user's preferred one. False for a
// negative number or while the output runs.
F_API bool FSOUND_SetDriver(int driver);
// False for anything but FSOUND_OUTPUT_WINMM or while the output runs.
F_API bool FSOUND_SetOutput(int output);

// Starts the output with `rate` samples a second, 8000 to 192000, and 1 to 64
// channels, that is, streams that play at once. A running output is closed
// first. False if there is no device or for a value out of range.
F_API bool FSOUND_Init(int rate, int channels, unsigned flags);
// Ends all sound at once, closes all streams and the output. When it returns,
// no memory of a caller is read any more, and no callback is under way, unless
// it was called from that callback or the callback took more than 200 ms more.
F_API void FSOUND_Close();

// For one channel or FSOUND_ALL; kept while the output runs. `pan` is 0 to 255
// or FSOUND_STEREOPAN, `volume` 0 (silence) to 255, in equal steps of
// amplitude; a value beyond is taken as the nearest. False if there is no such
// channel.
F_API bool FSOUND_SetPan(int channel, int pan);
F_API bool FSOUND_SetVolume(int channel, int volume);
// Stops a channel where it stands, or lets it go on. At once if no other channel
// plays; else what is prepared is heard first.
F_API bool FSOUND_SetPaused(int channel, bool paused);

// Opens a file by name, or memory with FSOUND_LOADMEMORY, which isn't copied
// and has to stay until the stream is closed. `offset` bytes are left out at
// the start; `length` is the number of bytes, 0 with a file for all of it.
// Null if that holds no sound.
F_API FSOUND_STREAM* FSOUND_Stream_Open(const char* nameOrData, unsigned mode, int offset,
                                        int length);
// Plays from the start on a channel, or on any free one with FSOUND_FREE; a
// stream that plays already is stopped first, and its own channel counts as free.
// The channel's number; -1 if there is none or it is taken, and then nothing
// changes, or if the stream can't go back to its start.
F_API int FSOUND_Stream_Play(int channel, FSOUND_STREAM* stream);
// Ends the playing, without the callback. At once if no other stream plays; else
// what is prepared is heard first.
F_API bool FSOUND_Stream_Stop(FSOUND_STREAM* stream);
// Stops and frees the stream. A callback that is under way isn't waited for.
F_API bool FSOUND_Stream_Close(FSOUND_STREAM* stream);
// Sets who is told at the end; null for nobody.
F_API bool FSOUND_Stream_SetEndCallback(FSOUND_STREAM* stream, FSOUND_STREAMCALLBACK callback,
                                        void* userData);
}
