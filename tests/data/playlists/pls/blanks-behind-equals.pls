[playlist]
  File1=   a.mp3
File2=b.mp3  
File3 = c.mp3
File4=	d.mp3
Version=2
