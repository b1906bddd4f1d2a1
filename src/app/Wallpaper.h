#pragma once
// Leaves the last picture behind as the desktop's wallpaper at the end of a
// run.

class Slideshow;

// Writes the wallpaper's style to the registry and has `show` save its picture
// to WallpaperPath in the desktop's size. The style is written first, whether
// or not there is a picture.
void HandOverWallpaper(Slideshow& show);
