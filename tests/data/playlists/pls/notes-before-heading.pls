File0=not this.mp3
; made by hand
[playlist]
File1=this.mp3
File2=\and this.mp3
Version=2