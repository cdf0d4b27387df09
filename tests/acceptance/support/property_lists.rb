# Reads the property list in each file that standard input names with CFPropertyList, prints a line of JSON for each, in
# the form that property_lists.py describes ("absent" for what it refuses), and writes it in the binary and in the XML
# form to FOLDER/N.binary and FOLDER/N.xml, where N counts the lines from 0.

require 'cfpropertylist'
require 'json'

REFERENCE_DATE = 978307200
FORMS = { 'binary' => CFPropertyList::List::FORMAT_BINARY, 'xml' => CFPropertyList::List::FORMAT_XML }.freeze

def bits(number)
  [number.to_f].pack('G').unpack1('H*')
end

def tagged(object)
  case object
  when CFPropertyList::CFDictionary then { 'dict' => object.value.transform_values { |value| tagged(value) } }
  when CFPropertyList::CFArray then object.value.map { |value| tagged(value) }
  when CFPropertyList::CFUid then { 'dict' => { 'CF$UID' => object.value } }
  when CFPropertyList::CFReal then { 'real' => bits(object.value) }
  when CFPropertyList::CFDate then { 'date' => bits(object.value.to_r - REFERENCE_DATE) }
  when CFPropertyList::CFData then { 'data' => object.decoded_value.unpack1('H*') }
  when CFPropertyList::CFString, CFPropertyList::CFInteger, CFPropertyList::CFBoolean then object.value
  else raise "an object of #{object.class}"
  end
end

folder = ARGV.fetch(0)
$stdin.each_line(chomp: true).each_with_index do |name, line|
  begin
    list = CFPropertyList::List.new(data: File.binread(name))
    puts JSON.generate(tagged(list.value), max_nesting: false)
    FORMS.each do |form, format|
      File.binwrite(File.join(folder, "#{line}.#{form}"), list.to_str(format))
    rescue StandardError, CFFormatError, CFPlistError => error
      warn "#{name} as #{form}: #{error.message}"
    end
  rescue StandardError, CFFormatError, CFPlistError => error
    puts 'absent'
    warn "#{name}: #{error.message}"
  end
end
