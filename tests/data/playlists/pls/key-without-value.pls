[playlist]
File1
File2=
File3=c.mp3
Filename=d.mp3
Version=2
