# Makes the picture in docs/desktops/ of a server, in the current folder: pictures.py SERVER
# SPDX-License-Identifier: MIT
import json
import os
import sys
from pathlib import Path

from desktop import TOP, Desktop, run, start
from servers import SERVERS

WALLPAPER = "#8fa8c9"
SETTINGS = f"""[org/%s/desktop/interface]
scaling-factor=uint32 2
[org/%s/desktop/background]
picture-options='none'
primary-color='{WALLPAPER}'
"""
KDE = """desktops().forEach(desktop => {
    desktop.wallpaperPlugin = 'org.kde.color';
    desktop.currentConfigGroup = ['Wallpaper', 'org.kde.color', 'General'];
    desktop.writeConfig('Color', '%s') })""" % WALLPAPER

os.environ.update(GDK_SCALE="2", QT_SCALE_FACTOR="2", QT_FONT_DPI="96", PLASMA_USE_QT_SCALING="1", ELM_SCALE="2")
os.makedirs("glib-2.0/settings")
Path("glib-2.0/settings/keyfile").write_text("".join(SETTINGS.replace("%s", name) for name in ("gnome", "cinnamon")))
Desktop.size, Desktop.scale = "1600x1200", 2
s = SERVERS[sys.argv[1]]
s.connect()
if "DISPLAY" in os.environ:
    start("picom", "--backend", "xrender")
s.serve()
if sys.argv[1] == "kde":
    run("gdbus", "call", "--session", "-d", "org.kde.plasmashell", "-o", "/PlasmaShell", "-m",
        "org.kde.PlasmaShell.evaluateScript", KDE)
elif "DISPLAY" in os.environ:
    run("hsetroot", "-solid", WALLPAPER)
elif sockets := list(Path().glob("sway-ipc.*")):
    run("swaymsg", "-s", sockets[0], f"output * bg {WALLPAPER} solid_color")
s.bare = s.still()
s.play()

# A chat message of the day in examples/, which sends a photo, is cut out of the screen.
day = (TOP / "examples/day.jsonl").read_text().replace('"icons/', f'"{TOP}/examples/icons/')
lunch = json.loads(next(line for line in day.splitlines() if "Lunch at" in line))
lunch["actions"][1]["choices"] = []
s.notify(**{**lunch, "text": "Photo of <Corner Café> & Co 🍜", "subText": "Hiking friends", "progressMax": 4,
            "progress": 3})
s.until(lambda: not s.cleared(), "not shown")
s.items()
screen = s.still()
box = s.news(screen, 8)
box = max(box[0] - 8, 0), max(box[1] - 8, 0), min(box[2] + 8, screen.width), min(box[3] + 8, screen.height)
screen.crop(box).quantize(256).save(TOP / f"docs/desktops/{sys.argv[1]}.png", optimize=True)
