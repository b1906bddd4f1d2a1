"""What is heard during a show, recorded from the sound server's output."""

import pytest

from harness import bundles, sound

pytestmark = pytest.mark.display(width=320, height=240)

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
        lines = ["#EXTM3U"] + [f"{self.desktop.prefix.windows_path(folder)}\\{name}" for name, _ in tracks]
        data_folder = self.desktop.data_folder()
        data_folder.mkdir(parents=True, exist_ok=True)
        (data_folder / f"{self.desktop.user()}.M3U").write_bytes("\r\n".join(lines).encode("cp1252"))
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


def test_built_in_tracks_follow_each_other_for_ever(stage):
    stage.built_in(("one.ogg", sound.tone(440, 1.5, ".ogg")), ("two.mp2", sound.tone(660, 1.5, ".mp2")),
                   ("three.wav", sound.tone(990, 1.5, ".wav")))
    run = stage.start()
    at = 0.0
    for hertz in (440, 660, 990, 440):
        at = stage.recording.wait_for_tone(hertz, at, alive=run.ended)
    stage.end(run)


def test_own_list_plays_on_both_engines_before_the_built_in_tracks(stage):
    stage.built_in(("built-in.ogg", sound.tone(1500, 1.5, ".ogg")))
    stage.playlist(("a.wav", sound.tone(440, 1.5, ".wav")), ("b.mp3", sound.tone(660, 1.5, ".mp3")),
                   ("c.wma", sound.tone(880, 1.5, ".wma")), ("d.ogg", sound.tone(1100, 1.5, ".ogg")),
                   default=1)
    run = stage.start()
    at = 0.0
    for hertz in (440, 660, 880, 1100, 1500, 440):
        at = stage.recording.wait_for_tone(hertz, at, alive=run.ended)
    stage.end(run)
