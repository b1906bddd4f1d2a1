"""The dialogs behind the settings window's buttons, by mouse and keys."""

import resource

import numpy
import pytest

from harness.dialogs import Dialog, SettingsWindow
from harness.displays import settled
from harness.skin import Skin, looks_like
from harness.waiting import wait_until
from harness.webserver import redirect

pytestmark = pytest.mark.display(width=1024, height=768)

MUSIC = "Select Custom Music"
FILES = "Select a song or playlist"
CAPTIONS = "Caption Options"
ABOUT = "About Velmora 2  v 1.0"
UPDATES = "Checking for Updates"
TIPS = "Speed-Up Tips!"
SURE = "Are you sure?"

OK, CANCEL, YES, NO = 1, 2, 6, 7
LB_GETCOUNT, BM_GETCHECK = 0x018B, 0x00F0
# What the about dialog's button shows of the settings window's picture.
PIECE = slice(94, 122), slice(14, 168)


# --- Custom music ---

@pytest.fixture
def songs(bare_desktop):
    """A folder with two songs, a text, and a list of four lines."""
    folder = bare_desktop.prefix.path / "drive_c" / "songs"
    folder.mkdir()
    for name in ("one.mp3", "two.ogg", "three.txt"):
        (folder / name).write_bytes(b"x")
    (folder / "list.m3u").write_text("#EXTM3U\nin.wav\nnotes.txt\nC:\\far\\out.wma\n")
    return bare_desktop


def playlist(desktop):
    return desktop.data_folder() / f"{desktop.user()}.M3U"


def entries(desktop):
    lines = playlist(desktop).read_bytes().decode("cp1252").split("\r\n")
    return [line for line in lines if line and not line.startswith("#")]


def add_files(music, typed):
    """Adds what is typed into the file dialog."""
    music.press(3)
    files = Dialog(music.run, FILES)
    music.desktop.display.xdotool("type", "--delay", "5", typed)
    wait_until("the typed name", lambda: files.text(1152).startswith(typed), alive=music.run.ended)
    music.desktop.display.key("Return")
    files.wait_gone()


def test_songs_are_added_moved_removed_and_saved(songs):
    window = SettingsWindow(songs)
    music = window.open("music", MUSIC)
    assert music.text(1106) == "0\nFiles"
    add_files(music, r"C:\songs\one.mp3")
    music.wait_for_text(1106, "1\nFiles")
    add_files(music, '"two.ogg" "three.txt" "list.m3u"')
    music.wait_for_text(1106, "5\nFiles")
    music.press(1103, down=6)  # the first row
    songs.display.key("Delete")
    music.wait_for_text(1106, "4\nFiles")
    music.press(1103, down=22)  # the second row
    music.press(1011)  # up
    music.press(OK)
    music.wait_gone()
    window.cancel()
    assert entries(songs) == [r"C:\songs\three.txt", r"C:\songs\two.ogg", r"C:\songs\in.wav",
                              r"C:\far\out.wma"]
    assert songs.setting_dword("CustomMusic") is None, "the other window's toggle decides that"


def test_a_list_by_itself_is_taken_whole(songs):
    window = SettingsWindow(songs)
    music = window.open("music", MUSIC)
    add_files(music, r"C:\songs\list.m3u")
    music.wait_for_text(1106, "3\nFiles")
    music.press(OK)
    music.wait_gone()
    window.cancel()
    assert entries(songs) == [r"C:\songs\in.wav", r"C:\songs\notes.txt", r"C:\far\out.wma"]


def test_leaving_without_ok_keeps_the_old_list(songs):
    playlist(songs).parent.mkdir(parents=True, exist_ok=True)
    playlist(songs).write_bytes(b"#EXTM3U\r\nC:\\old.mp3\r\n")
    window = SettingsWindow(songs)
    music = window.open("music", MUSIC)
    music.wait_for_text(1106, "1\nFiles")
    music.press(5)  # clear
    music.wait_for_text(1106, "0\nFiles")
    music.press(CANCEL)
    box = songs.hand.wait_for_box(SURE, window.run.ended)
    assert box["message"] == "Are you sure you want to lose your changes?"
    songs.hand.answer_box(box, NO)
    assert music.text(1106) == "0\nFiles"
    songs.display.key("Escape")
    songs.hand.answer_box(songs.hand.wait_for_box(SURE, window.run.ended), YES)
    music.wait_gone()
    window.cancel()
    assert entries(songs) == [r"C:\old.mp3"]


def test_an_emptied_list_leaves_no_file(songs):
    playlist(songs).parent.mkdir(parents=True, exist_ok=True)
    playlist(songs).write_bytes(b"#EXTM3U\r\nC:\\old.mp3\r\n")
    window = SettingsWindow(songs)
    music = window.open("music", MUSIC)
    music.press(5)
    music.press(OK)
    music.wait_gone()
    assert not playlist(songs).exists()
    music = window.open("music", MUSIC)
    assert music.ask(1103, LB_GETCOUNT) == 0
    music.press(CANCEL)
    songs.hand.answer_box(songs.hand.wait_for_box(SURE, window.run.ended), YES)
    music.wait_gone()
    window.cancel()


def test_a_full_disk_keeps_the_old_list(songs):
    old = b"#EXTM3U\r\n" + b"".join(b"C:\\songs\\%d.mp3\r\n" % n for n in range(100))
    playlist(songs).parent.mkdir(parents=True, exist_ok=True)
    playlist(songs).write_bytes(old)
    # Python ignores the signal that comes with a write beyond the limit; so must the program.
    window = SettingsWindow(songs, restore_signals=False)
    music = window.open("music", MUSIC)
    music.wait_for_text(1106, "100\nFiles")
    music.press(1103, down=6)  # the first row
    songs.display.key("Delete")
    music.wait_for_text(1106, "99\nFiles")
    resource.prlimit(window.run.process.pid, resource.RLIMIT_FSIZE, (1000, 1000))
    music.press(OK)
    music.wait_gone()
    window.cancel()
    assert playlist(songs).read_bytes() == old
    assert len([f for f in playlist(songs).parent.iterdir() if "M3U" in f.name]) == 1


def test_the_settings_window_has_the_keys_back_afterwards(songs):
    (songs.install / "VELMORA2.HLP").unlink()  # so that F1 brings a box
    window = SettingsWindow(songs)
    music = window.open("music", MUSIC)
    music.press(OK)
    music.wait_gone()
    songs.display.key("F1")
    help_box = wait_until("the system's help", lambda: [
        b for b in songs.hand.boxes() if b["text"] != window.title], alive=window.run.ended)[0]
    songs.hand.answer_box(help_box, NO)
    window.cancel()


# --- Captions ---

def choose_captions(window):
    """Turns captions on, italic off, and takes 32 px at the right, by keys and mouse."""
    captions = window.open("captions", CAPTIONS)
    captions.press(1109)
    captions.press(1114)
    for box, key in ((1110, "End"), (1113, "End")):
        captions.press(box)
        window.desktop.display.key(key)
        window.desktop.display.key("Return")
    captions.wait_for_text(1110, "32")
    captions.wait_for_text(1113, "Right")
    return captions


def test_captions_are_stored_by_both_oks(bare_desktop):
    window = SettingsWindow(bare_desktop)
    captions = choose_captions(window)
    captions.press(OK)
    captions.wait_gone()
    window.ok()
    assert bare_desktop.setting_dword("ShowCaptions") == 1
    assert bare_desktop.setting_dword("CaptionItalic") == 0
    assert bare_desktop.setting_dword("CaptionBold") == 1
    assert bare_desktop.setting_text("CaptionFont") == "Arial"
    assert bare_desktop.setting_dword("CaptionFontSize") == 2**32 - 32
    assert bare_desktop.setting_dword("CaptionOrientation") == 2


def test_captions_that_are_cancelled_in_either_window_are_not_stored(bare_desktop):
    window = SettingsWindow(bare_desktop)
    captions = choose_captions(window)
    captions.press(CANCEL)
    captions.wait_gone()
    window.ok()
    assert bare_desktop.setting_dword("ShowCaptions") == 0
    window = SettingsWindow(bare_desktop)
    captions = choose_captions(window)
    captions.press(OK)
    captions.wait_gone()
    window.cancel()
    assert bare_desktop.setting_dword("ShowCaptions") == 0


def has_several_colours(pixels):
    return (pixels != pixels[0, 0]).any()


def test_the_sample_changes_as_one_chooses(bare_desktop):
    window = SettingsWindow(bare_desktop)
    captions = window.open("captions", CAPTIONS)
    wait_until("a sample", lambda: has_several_colours(captions.pixels(1111)),
               alive=window.run.ended)
    settled(bare_desktop.display)
    grey = captions.pixels(1111)
    captions.press(1109)
    wait_until("a black sample", lambda: not numpy.array_equal(captions.pixels(1111), grey))
    settled(bare_desktop.display)
    upright = captions.pixels(1111)
    captions.press(1117)
    wait_until("a lighter sample", lambda: not numpy.array_equal(captions.pixels(1111), upright))
    bare_desktop.display.key("Escape")
    captions.wait_gone()
    window.cancel()


# --- About ---

def test_about_shows_a_roll_that_moves_and_a_piece_of_the_picture(bare_desktop):
    window = SettingsWindow(bare_desktop)
    left, top = window.rect()[:2]
    drawing = Skin((bare_desktop.install / "Velmora2.exe").read_bytes()).looks()[PIECE]

    def piece_on_screen():
        return bare_desktop.display.shot()[top:, left:][PIECE]

    # Before any other window covers it.
    wait_until("the piece of the picture", lambda: looks_like(piece_on_screen(), drawing),
               alive=window.run.ended)
    piece = piece_on_screen()
    about = window.open("about", ABOUT)

    def is_night(roll):
        return (roll.reshape(-1, 3) == 0).all(axis=1).mean() > 0.5

    wait_until("the night between the stars", lambda: is_night(about.pixels(1011)),
               alive=window.run.ended)
    first = about.pixels(1011)
    wait_until("the roll moves", lambda: not numpy.array_equal(about.pixels(1011), first))
    wait_until("the button shows its piece",
               lambda: numpy.array_equal(about.pixels(1012), piece))
    about.press(OK)
    about.wait_gone()
    window.cancel()


# --- Updates ---

def test_a_check_without_a_server_tells_so(bare_desktop):
    # An address of this machine where nobody listens, whatever the network makes of names.
    redirect(bare_desktop.install / "Velmora2.exe", b"updates.velmora2.invalid", "127.0.0.83")
    window = SettingsWindow(bare_desktop)
    updates = window.open("updates", UPDATES)
    wait_until("the check's end", lambda: updates.control(OK)["visible"], alive=window.run.ended)
    assert not updates.control(CANCEL)["visible"]
    assert updates.text(1123).startswith("Unable to query the internet for an update. Code: ")
    updates.press(OK)
    updates.wait_gone()
    window.cancel()


# --- Speed-up tips ---

def leave_tips(desktop, button):
    """A slow saver's settings window, whose tips are left by `button`; it is cancelled then."""
    desktop.settings(AvgFps="9.900000")
    run = desktop.start(program="Velmora2.exe")
    tips = Dialog(run, TIPS)
    tips.press(button)
    tips.wait_gone()
    desktop.hand.wait_for_box("Velmora 2  v 1.0", run.ended)
    desktop.display.key("Escape")
    assert run.wait_end() == 0


def test_tips_come_first_and_never_again_survives_a_cancel(bare_desktop):
    leave_tips(bare_desktop, 2)
    assert bare_desktop.setting_dword("ShowSpeedtip") == 0
    SettingsWindow(bare_desktop).cancel()


def test_continue_leads_on_and_keeps_the_tips(bare_desktop):
    leave_tips(bare_desktop, 1)
    assert bare_desktop.setting_dword("ShowSpeedtip") is None


def test_ten_frames_a_second_are_enough(bare_desktop):
    bare_desktop.settings(AvgFps="10.000000")
    window = SettingsWindow(bare_desktop)
    assert [b["text"] for b in bare_desktop.hand.boxes()] == [window.title]
    window.cancel()
