[playlist]
File1=C:\Music\Ida Brandt\Morning on the Quay.mp3
Title1=Ida Brandt - Morning on the Quay
Length1=243
File2=Second Light.mp3
Title2=Ida Brandt - Second Light
Length2=187
NumberOfEntries=2
Version=2
