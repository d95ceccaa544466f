readkit index small.bam
readkit fields small.bam chr1 | od -An -c | tail -n 5
readkit fields --field Position,EndPosition,Sequence --records 2-,1 small.bam chr1
readkit fields --json --field Header,Flag --records 2 small.bam chr1
readkit fields --field Flag,Position,MappingQuality,MatePosition,QueryLength,EndPosition,Signature,Sequence,Quality small.bam chr1
readkit fields --npz chr1.npz --field Position,Sequence small.bam chr1
python3 -B - <<'END'
import struct, zipfile
with zipfile.ZipFile("chr1.npz") as archive:
    assert archive.testzip() is None
    for name in archive.namelist():
        data = archive.read(name)
        size, = struct.unpack("<H", data[8:10])
        print(name, data[10:10 + size].decode().strip(), data[10 + size:])
END
exec 2>&1
readkit fields --field Flag,Flags small.bam chr1
echo "status $?"
readkit fields --records 4 small.bam chr1
echo "status $?"
readkit fields small.bam CHR1
echo "status $?"
readkit fields --records 3-1 small.bam chr1
echo "status $?"
