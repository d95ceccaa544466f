# A name that is not UTF-8 cannot be opened, but is reported as it is; one in UTF-8 can.
mv small.bam "$(printf 'b\377.bam')"
readkit call bamInfo --args '["b\udcff.bam"]'
cp b* "$(printf '\303\251.bam')"
readkit call bamInfo --args '["\u00e9.bam"]'
readkit call bamInfo --args '["é.bam"]'
