"""Wine prefixes: one of its own for each test."""

import os
import pathlib
import shutil
import subprocess
import tempfile

from . import places


class Prefix:
    """A fresh clone of the template prefix, bound to one display."""

    def __init__(self, display):
        places.prefixes().mkdir(parents=True, exist_ok=True)
        self.folder = pathlib.Path(tempfile.mkdtemp(prefix="e2e-", dir=places.prefixes()))
        self.path = self.folder / "prefix"
        self._tool("clone")
        self.environment = self._environment(display)

    def _tool(self, action):
        return subprocess.run([places.PREFIX_TOOL, action, self.path], check=True,
                              stdout=subprocess.PIPE, text=True, stdin=subprocess.DEVNULL).stdout

    def _environment(self, display):
        """The tool's shell lines, as the shell itself understands them."""
        script = self._tool("env") + "env -0"
        text = subprocess.run(["bash", "-c", script], env=display.environment(), check=True,
                              stdout=subprocess.PIPE, text=True).stdout
        return dict(entry.split("=", 1) for entry in text.split("\0") if entry)

    def start(self, *command, **options):
        """Starts a Windows program; its path may be a host path."""
        options = {"stdin": subprocess.DEVNULL, "stdout": subprocess.DEVNULL,
                   "stderr": subprocess.DEVNULL, **options}
        return subprocess.Popen(["wine", *map(str, command)], env=self.environment,
                                start_new_session=True, **options)

    def stop_server(self):
        """Ends every Windows process of the prefix."""
        for action in ("-k", "-w"):
            subprocess.run(["wineserver", action], env=self.environment, check=False,
                           stderr=subprocess.DEVNULL)

    def remove(self):
        self.stop_server()
        shutil.rmtree(self.folder)

    def roaming(self):
        """The user's application data folder, as the host sees it."""
        user = self.environment["USER"]
        return self.path / "drive_c" / "users" / user / "AppData" / "Roaming"

    def host_path(self, windows_path):
        """`C:\\...` as the host sees it."""
        assert windows_path[:3].lower() == "c:\\", windows_path
        return self.path / "drive_c" / windows_path[3:].replace("\\", "/")

    def windows_path(self, host_path):
        """A path below drive C as the programs see it."""
        relative = pathlib.Path(host_path).relative_to(self.path / "drive_c")
        return "C:\\" + str(relative).replace(os.sep, "\\")
