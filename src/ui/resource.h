// Numbers of the dialogs and their controls, for the resource script and the
// code.
#pragma once

#define IDD_CONFIG 104
#define IDD_ABOUT 140
#define IDD_SPEED_TIPS 141
#define IDD_CUSTOM_MUSIC 154
#define IDD_CAPTION_OPTIONS 165
#define IDD_UPDATE 167

// Resource of type BINARY: the outline of the configuration window, an RGNDATA.
#define IDR_OUTLINE 124

// Controls of IDD_CONFIG: those of the template...
#define IDC_IMAGE_DELAY 1020
#define IDC_MODE_LIST 1024
#define IDC_SUPPORT 1034
#define IDC_CAPTION_OPTIONS 1035
#define IDC_HELP_BUTTON 1048
#define IDC_ABOUT 1049
#define IDC_CUSTOM_MUSIC_LIST 1087
#define IDC_WEB_SITE 1088
#define IDC_SPECIALS 1089
#define IDC_UPDATES 1095
// ... and those made at run time.
#define IDC_CUSTOM_MUSIC 1013
#define IDC_DEFAULT_MUSIC 1011
#define IDC_MUSIC_VOLUME 1033
#define IDC_MODE_KNOB 1052
#define IDC_PLAY_MUSIC 1059
#define IDC_SHUFFLE_MUSIC 1060
#define IDC_FAST_MODE 1061
#define IDC_WALLPAPER 1090
#define IDC_RANDOM_ORDER 1091
#define IDC_ANIMATE 1092
#define IDC_CROSSFADE 1094
#define IDC_HIGH_QUALITY 1096
