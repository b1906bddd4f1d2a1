<PLAYLIST>
<ENTRY PLAYSTRING="FILE:D:\Bal\Duna.mp3" NAME="Duna"/>
<entry playstring="file:  \\nas\m\Two.wma"/>
<entry PlayString = "C:\x &amp; y&nbsp;z.mp3"/>
</PLAYLIST>
