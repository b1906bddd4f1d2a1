a.mp3
  b.mp3
# c.mp3
D:\d.mp3
