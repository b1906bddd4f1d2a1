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

// Controls of IDD_CUSTOM_MUSIC.
#define IDC_ADD_FILES 3
#define IDC_REMOVE_SELECTED 4
#define IDC_CLEAR_LIST 5
#define IDC_MOVE_UP 1011
#define IDC_MOVE_DOWN 1012
#define IDC_SONGS 1103
#define IDC_SONG_COUNT 1106

// Controls of IDD_CAPTION_OPTIONS.
#define IDC_SHOW_CAPTIONS 1109
#define IDC_CAPTION_SIZE 1110
#define IDC_CAPTION_SAMPLE 1111
#define IDC_CAPTION_FONT 1112
#define IDC_CAPTION_ORIENTATION 1113
#define IDC_CAPTION_ITALIC 1114
#define IDC_CAPTION_BOLD 1117

// Controls of IDD_ABOUT; the button of the web site is made at run time.
#define IDC_CREDITS 1011
#define IDC_MAKER_BUTTON 1012
#define IDC_MAKER_LINK 1073

// Controls of IDD_SPEED_TIPS: IDOK goes on, this one ends the tips for good.
#define IDC_NO_MORE_TIPS 2

// Controls of IDD_UPDATE: IDOK is its "Close".
#define IDC_UPDATE_PROGRESS 1122
#define IDC_UPDATE_REPLY 1123
#define IDC_UPDATE_LINK 1124
