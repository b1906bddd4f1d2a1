"""What is heard during a show, recorded from the sound server's output."""

import pytest

from harness import bundles, sound

pytestmark = pytest.mark.display(width=320, height=240)

SHORT = 0.8  # s, of tracks that follow each other
LONG = 40    # s; no track of these ends by itself
FULL = -9.03  # dB, of the tests' tones as they are

TITLE = "Error initializing sound"
WORDS = (
    "An error was encountered while initializing the sound subsystem.\n\n"
    "Possible causes include:\n"
    "-A file may be corrupt and you need to re-install the screensaver\n"
    "-You may have a corrupt music file in your playlist, try clearing your playlist\n"
    "-Your hardware drivers may be out of date, try installing the latest drivers.\n\n"
    "If all else fails, try disabling music and contact support.")


@pytest.fixture(scope="module")
def server():
    made = sound.SoundServer()
    yield made
    made.close()


@pytest.fixture
def recording(server):
    made = server.record()
    yield made
    made.close()


@pytest.fixture
def stage(desktop, server, recording, four_pictures):
    """A show with music that is recorded; what it plays is still to be set."""
    return Stage(desktop, server, recording, four_pictures)


class Stage:
    def __init__(self, desktop, server, recording, shown):
        self.desktop, self.recording, self.shown = desktop, recording, shown
        desktop.prefix.environment.update(server.environment())
        desktop.settings(PlayMusic=1, ShuffleMusic=0, DefaultMusic=1, CustomMusic=0,
                         ImageDelay="60.000000")
        desktop.slides(shown)

    def built_in(self, *tracks):
        """The bundle's music: (name, bytes) each."""
        self.desktop.slide_file(bundles.slide_bundle(self.shown, music=tracks))

    def playlist(self, *tracks, default=0):
        """The user's own list: (name, bytes) each, None for a missing file."""
        folder = self.desktop.install / "my music"
        folder.mkdir()
        for name, data in tracks:
            if data is not None:
                (folder / name).write_bytes(data)
        place = self.desktop.prefix.windows_path(folder)
        lines = ["#EXTM3U"] + [f"{place}\\{name}" for name, _ in tracks]
        data_folder = self.desktop.data_folder()
        data_folder.mkdir(parents=True, exist_ok=True)
        own_list = data_folder / f"{self.desktop.user()}.M3U"
        own_list.write_bytes("\r\n".join(lines).encode("cp1252"))
        self.desktop.settings(CustomMusic=1, DefaultMusic=default)

    def start(self):
        return self.desktop.start("/s")

    def press(self, key):
        """Presses a key of the show's; when that was in the recording."""
        at = self.recording.now()
        self.desktop.display.key(key)
        return at

    def end(self, run):
        """Ends the show by a key: nothing is heard any more."""
        at = self.recording.now()
        assert run.quit() == 0
        self.recording.wait_for_silence(at)


def test_tracks_of_both_engines_follow_each_other_for_ever(stage):
    """The user's own list in its order, then the built-in tracks, then from the start."""
    stage.built_in(("built-in.ogg", sound.tone(1300, SHORT, ".ogg")),
                   ("one-more.mp2", sound.tone(1600, SHORT, ".mp2")))
    stage.playlist(("a.wav", sound.tone(440, SHORT, ".wav")),
                   ("b.mp3", sound.tone(660, SHORT, ".mp3")),
                   ("c.wma", sound.tone(880, SHORT, ".wma")),
                   ("d.ogg", sound.tone(1100, SHORT, ".ogg")), default=1)
    run = stage.start()
    at = 0.0
    for hertz in (440, 660, 880, 1100, 1300, 1600, 440):
        measured = hertz in (660, 1100)  # one of each engine
        at = stage.recording.wait_for_tone(hertz, at, looks=10 if measured else 4, alive=run.ended)
        if measured:
            assert stage.recording.steady_level(at + 0.05, 0.4) == pytest.approx(FULL, abs=0.5)
    stage.end(run)


# --- The keys

SUFFIXES = [".ogg", ".mp3"]  # one for each engine


@pytest.mark.parametrize("suffix", SUFFIXES, ids=["fmod", "directshow"])
def test_the_keys_steer_what_is_heard(stage, suffix):
    stage.playlist(("1" + suffix, sound.sweep(LONG, suffix)),
                   ("2" + suffix, sound.tone(5000, LONG, suffix)),
                   ("3" + suffix, sound.tone(7000, LONG, suffix)))
    run = stage.start().wait_for_show()
    recording = stage.recording
    position = sound.sweep_position

    def heard_at(seconds, since):
        return recording.wait_for(f"second {seconds} of the track",
                                  lambda h: h > 0 and position(h) > seconds, since, alive=run.ended)

    def start_heard(since):
        return recording.wait_for("the track's start", lambda h: 0 < h and position(h) < 1.0, since,
                                  alive=run.ended)

    def latency(key, heard, pressed):
        print(f"latency: {key}: {1000 * (heard - pressed):.0f} ms")

    # Up starts the track again.
    heard_at(1.5, 0.0)
    pressed = stage.press("Up")
    again = start_heard(pressed)
    latency("Up", again, pressed)

    # Down pauses it, and has it go on where it stood.
    at = heard_at(1.5, again)
    pressed = stage.press("Down")
    silent = recording.wait_for_silence(max(at, pressed), alive=run.ended)
    latency("Down", silent, pressed)
    before = position(recording.heard(silent - 3 * sound.STEP, 2 * sound.STEP))
    pressed = stage.press("Down")
    heard = recording.wait_for_sound(pressed, alive=run.ended)
    latency("Down again", heard, pressed)
    after = position(recording.heard(heard + 2 * sound.STEP, 2 * sound.STEP))
    assert before - 0.2 < after < before + 0.8

    # Right and left walk the list, round both ends.
    for key, hertz in (("Right", 5000), ("Right", 7000), ("Right", None), ("Left", 7000),
                       ("Left", 5000)):
        pressed = stage.press(key)
        heard = (recording.wait_for_tone(hertz, pressed, alive=run.ended) if hertz
                 else start_heard(pressed))
        latency(key, heard, pressed)
    stage.end(run)


# --- Volume

def test_volume_is_amplitude_on_one_engine_and_decibels_on_the_other(stage):
    """Half of it; the test of tracks that follow each other has it full."""
    stage.playlist(("a.ogg", sound.tone(440, 2 * SHORT, ".ogg")),
                   ("b.mp3", sound.tone(660, 2 * SHORT, ".mp3")))
    stage.desktop.settings(MusicVol="128")
    run = stage.start()
    at = 0.0
    for hertz, quieter in ((440, 5.99), (660, 12.46)):
        at = stage.recording.wait_for_tone(hertz, at, looks=12, alive=run.ended)
        level = stage.recording.steady_level(at + 0.05, 0.5)
        assert level == pytest.approx(FULL - quieter, abs=0.5)
    stage.end(run)


# --- What can't be played

NO_MUSIC = b"This is no music at all, whatever its name says.\r\n" * 40


def test_bad_tracks_are_passed_over(stage):
    stage.built_in(("built-in.ogg", sound.tone(990, SHORT, ".ogg")), ("bad.ogg", NO_MUSIC),
                   ("empty.wav", b""))
    stage.playlist(("missing.ogg", None), ("missing.mp3", None), ("text.ogg", NO_MUSIC),
                   ("text.mp3", NO_MUSIC), ("empty.wma", b""),
                   ("good.mp3", sound.tone(440, SHORT, ".mp3")),
                   ("cut.ogg", sound.tone(880, 2, ".ogg")[:300]),
                   ("good.wav", sound.tone(660, SHORT, ".wav")), default=1)
    run = stage.start()
    at = 0.0
    for hertz in (440, 660, 990, 440):
        at = stage.recording.wait_for_tone(hertz, at, alive=run.ended)
    stage.end(run)


def test_a_list_of_bad_tracks_leaves_the_show_silent_and_alive(stage, four_pictures):
    stage.playlist(("missing.ogg", None), ("missing.mp3", None), ("text.ogg", NO_MUSIC),
                   ("text.wma", NO_MUSIC))
    stage.desktop.settings(ImageDelay="0.400000")
    run = stage.start().wait_for_show()
    assert "Successfully exiting initSound()" in stage.desktop.log()
    for key in ("Right", "Left", "Down", "Down", "Up"):
        stage.press(key)
    run.wait_for_next(four_pictures)
    stage.end(run)
    assert stage.recording.level(0, stage.recording.now()) < sound.SILENCE
    assert stage.desktop.setting_dword("CriticalError") == 0


def test_with_neither_kind_of_music_nothing_is_heard(stage):
    stage.built_in(("one.ogg", sound.tone(440, LONG, ".ogg")))
    stage.desktop.settings(DefaultMusic=0, CustomMusic=0)
    run = stage.start().wait_for_show()
    assert "Successfully exiting initSound()" in stage.desktop.log()
    for key in ("Right", "Left", "Up", "Down"):
        stage.press(key)
    stage.end(run)
    assert stage.recording.level(0, stage.recording.now()) < sound.SILENCE


def test_without_a_sound_device_a_box_says_so_and_the_show_goes_on(stage, four_pictures):
    stage.built_in(("one.ogg", sound.tone(440, LONG, ".ogg")))
    stage.desktop.settings(ImageDelay="0.400000")
    stage.desktop.prefix.environment.update(sound.no_device())
    run = stage.start()
    box = stage.desktop.hand.wait_for_box(TITLE, alive=run.ended)
    assert box["message"] == WORDS
    assert "Successfully exiting initSound()" not in stage.desktop.log()
    stage.desktop.hand.answer_box(box)
    run.wait_for_show()
    stage.press("Right")  # steers nothing and ends nothing
    run.wait_for_next(four_pictures)
    stage.press("q")
    prompt = stage.desktop.hand.wait_for_box("Error initializing", alive=run.ended)
    stage.desktop.hand.answer_box(prompt)
    assert run.wait_end() == 0
    assert stage.desktop.setting_dword("CriticalError") == 0


# --- Everything at once

def test_keys_and_ends_at_the_same_time_do_no_harm(stage):
    """Tracks of both engines that are over as soon as they begin, and keys in between."""
    tracks = [(f"{n}{suffix}", sound.tone(300 + 40 * n, 0.06, suffix))
              for n in range(6) for suffix in (".ogg", ".mp3", ".wav")]
    stage.playlist(*tracks, ("bad.mp3", NO_MUSIC), ("bad.ogg", NO_MUSIC))
    run = stage.start().wait_for_show()
    for _ in range(12):
        for key in ("Right", "Left", "Down", "Up", "Down", "Right"):
            stage.desktop.display.key(key)
    at = stage.press("Right")
    stage.recording.wait_for_sound(at, looks=1, alive=run.ended)
    stage.end(run)
